#pragma once

#include <string>

/// A file as bytes, read without a buffer of the C library's: nobody would overwrite what is secret in there. One
/// thread.
///
/// A device or a socket is not opened: it need not end.
class InputFile {
public:
    /// A pipe is read as long as somebody has its other end. That suits a file that whoever starts the program has
    /// named, and none that the program finds in its folders: anybody who holds the pipe would hold the program up.
    enum class Pipes { Refuse, Read };

    explicit InputFile(const std::string& path, Pipes pipes = Pipes::Refuse);
    ~InputFile();

    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    /// Waits for the next bytes, at most so many. @return how many came; 0 at the end, and of a pipe that nobody writes
    /// to; -1 if the file could not be opened, or is a folder.
    int read(char* bytes, int most);

    /// False only if the disk says that there is no such file, rather than not letting it be looked at.
    static bool mayBeThere(const std::string& path);

    /// Whether what stands there is known to be no file: a folder, or a pipe say, which no later try will read either.
    static bool isKnownAsOther(const std::string& path);

    /// Why it could not be opened, or what the last reading that failed met: an errno; 0 if neither did.
    int error() const { return error_; }

private:
    int error_ = 0;
    const int descriptor_;
};
