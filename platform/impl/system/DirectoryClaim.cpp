#include "impl/system/DirectoryClaim.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

namespace platform {

namespace {

/// What a lock says, by the part of the directory's bytes that it lies in.
enum class Role : off_t { Resident, Waiting, Writer };

/// More than there are process numbers.
constexpr off_t BYTES_OF_A_ROLE = off_t{1} << 32;

off_t firstByteOf(Role role) { return static_cast<off_t>(role) * BYTES_OF_A_ROLE; }

struct flock recordLock(short type, off_t start, off_t length) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = start;
    lock.l_len = length;
    return lock;
}

void setOwn(int directory, Role role, short type) {
    struct flock lock = recordLock(type, firstByteOf(role) + getpid(), 1);
    // Fails only where there are no such locks, and shared ones wait for nobody.
    [[maybe_unused]] const int result = fcntl(directory, F_OFD_SETLK, &lock);
}

std::string nameOf(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/comm");
    std::string name;
    std::getline(file, name);
    return name;
}

/// Somebody else who has a role. @param below only processes with a smaller number.
std::optional<DirectoryUser> other(int directory, Role role, off_t below = BYTES_OF_A_ROLE) {
    struct flock lock = recordLock(F_WRLCK, firstByteOf(role), below);
    if (fcntl(directory, F_OFD_GETLK, &lock) != 0 || lock.l_type == F_UNLCK) {
        return std::nullopt;
    }
    const off_t byte = lock.l_start - firstByteOf(role);
    if (byte <= 0) {
        return DirectoryUser();  // a lock of somebody who does not know what its place says
    }
    const auto process = static_cast<pid_t>(byte);
    return DirectoryUser{process, nameOf(process)};
}

}  // namespace

DirectoryClaim::DirectoryClaim(const std::string& directory)
    : directory_(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}

bool DirectoryClaim::isOf(const std::string& path) const {
    struct stat claimed {};
    struct stat there {};
    return fstat(directory_.get(), &claimed) == 0 && ::stat(path.c_str(), &there) == 0 &&
           claimed.st_dev == there.st_dev && claimed.st_ino == there.st_ino;
}

void DirectoryClaim::becomeResident() { setOwn(directory_.get(), Role::Resident, F_RDLCK); }

std::optional<DirectoryUser> DirectoryClaim::takeTurn() {
    setOwn(directory_.get(), Role::Waiting, F_RDLCK);
    if (auto earlier = other(directory_.get(), Role::Waiting, getpid())) {
        return earlier;
    }
    // Said before looking: of two who do so at the same time, each sees the other, or one of them does.
    setOwn(directory_.get(), Role::Writer, F_RDLCK);
    auto writer = other(directory_.get(), Role::Writer);
    if (writer) {
        setOwn(directory_.get(), Role::Writer, F_UNLCK);
    }
    return writer;
}

std::optional<DirectoryUser> DirectoryClaim::resident() const { return other(directory_.get(), Role::Resident); }

std::optional<DirectoryUser> DirectoryClaim::writer() const { return other(directory_.get(), Role::Writer); }

}  // namespace platform
