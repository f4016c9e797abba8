#pragma once

#include <chrono>
#include <string>

#include "tessel/Mutex.h"
#include "xml/XmlFileWriter.h"

/// The right to write temporary siblings in a directory, for the length of a scope: held by a store from the opening of
/// a sibling until it stands in the place of the real file.
///
/// Two stores of one file use the same sibling, in one process or in two (a client that runs, and the tool beside it):
/// without this, one could put what the other has half written in the place of the real file. Within the process a
/// mutex keeps them apart, between processes an advisory lock (flock) on the directory. A file system without such
/// locks keeps no other process out, and a directory that is a link of somebody else's, where no store writes, is not
/// locked.
///
/// Whoever may read the directory can hold its lock for ever. Nobody is held up for longer than PATIENCE by that: it is
/// logged, and from then on the directory is written to without its lock, and without waiting, until the lock has been
/// found free again. Other stores of this process are kept out all the same. What is risked is that the other process
/// is a writer too, whose disk takes so long: then one may put what the other has half written in the place of the real
/// file, and the other's write, if its sibling is gone by then, fails and is told of.
class TESSEL_SCOPED_CAPABILITY SiblingLock {
public:
    /// How long another process may hold the directory's lock before it is ignored.
    static constexpr std::chrono::milliseconds PATIENCE{5000};

    /// Waits until the right is free. @param directory of the sibling; empty for the working directory.
    explicit SiblingLock(const std::string& directory, std::chrono::milliseconds patience = PATIENCE)
        TESSEL_ACQUIRE(XmlFileWriter::siblingMutex());
    ~SiblingLock() TESSEL_RELEASE();

    SiblingLock(const SiblingLock&) = delete;
    SiblingLock& operator=(const SiblingLock&) = delete;

private:
    const int directory_;
};
