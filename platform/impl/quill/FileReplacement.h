#pragma once

#include <string>

namespace QuillCoreUtils {

/// The steps behind FileUtils' durable operations. All give 0 or an errno; nothing is logged. Any thread.

/// The path that remains when the last part of a path is followed as long as it is a link. What it names need not
/// exist. A link that belongs neither to this process's user, nor to root, nor to the owner of its folder is not
/// followed: EPERM.
/// @param resolved receives it.
int resolveLinks(const std::string& path, std::string& resolved);

/// What may stand where a file that grows is expected. Streams: pipes, terminals and other devices that take characters
/// are as good as a regular file.
enum class Growing { RegularFiles, Streams };

/// Opens a file that grows at its end. One that is not there is made with mode 0600, under every umask. A link is
/// followed as resolveLinks() says. A regular file that has another name as well is refused (EMLINK), since whoever
/// made that name chooses what is written to; so is a pipe that nobody reads (ENXIO). What is neither a regular file
/// nor accepted besides is not even opened: EISDIR for a folder, else EINVAL.
/// @param access O_WRONLY or O_RDWR; with O_EXCL a file that is there is refused (EEXIST). @param descriptor receives
/// it, for the caller to close, with O_NONBLOCK; -1 on failure.
int openForAppending(const std::string& path, int access, int& descriptor, Growing accepted = Growing::RegularFiles);

/// Copies a regular file over a destination, as FileUtils::copyFile says.
int copyOver(const std::string& from, const std::string& to, bool failIfExists);

/// Writes bytes over a destination with the same promise.
int writeOver(const std::string& to, const std::string& contents);

/// Puts a finished sibling in a destination's place, as FileUtils::replaceFileDurably says.
int putInPlace(const std::string& sibling, const std::string& to);

/// Removes what dead processes left beside a destination, as FileUtils::removeStaleSiblings says.
void removeSiblingsLeftBeside(const std::string& to);

/// Renames a file or a link, as FileUtils::moveFile says.
int moveOver(const std::string& from, const std::string& to, bool failIfExists);

}  // namespace QuillCoreUtils
