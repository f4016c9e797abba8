#include "Tracer.h"

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <filesystem>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "support/ForkedChild.h"

namespace torture {

bool isWithin(const std::string& folder, const std::string& path) {
    return path.starts_with(folder) &&
           (folder.ends_with('/') || path.size() == folder.size() || path[folder.size()] == '/');
}

#if defined(__x86_64__)

namespace {

// Priorities of processes that cannot exist: calls without an effect that a tracer can tell from all others.
constexpr id_t beginMark = 0x7C0B0001;
constexpr id_t endMark = 0x7C0B0002;

constexpr std::size_t moreCallsThanAnyoneNeeds = 100000;

/// What the arguments of a call name, from the first one on if nothing else is said.
enum class Names {
    Path,
    Descriptor,
    PathAt,
    TwoPaths,
    TwoPathsAt,
    TwoDescriptors,
    FirstAndThirdDescriptor,
    FifthDescriptor,
    TextAndPathAt,
};

struct FileCall {
    const char* name;
    Names names;
};

/// Every call of Linux that names a file or a descriptor, but for those that mount, that wait for several descriptors,
/// that speak to a socket, or that name an end of a range.
const std::map<long, FileCall>& fileCalls() {
    static const std::map<long, FileCall> calls = {
        {SYS_close, {"close", Names::Descriptor}},
        {SYS_dup, {"dup", Names::Descriptor}},
        {SYS_dup2, {"dup2", Names::Descriptor}},
        {SYS_dup3, {"dup3", Names::Descriptor}},
        {SYS_read, {"read", Names::Descriptor}},
        {SYS_pread64, {"pread64", Names::Descriptor}},
        {SYS_readv, {"readv", Names::Descriptor}},
        {SYS_preadv, {"preadv", Names::Descriptor}},
        {SYS_preadv2, {"preadv2", Names::Descriptor}},
        {SYS_write, {"write", Names::Descriptor}},
        {SYS_pwrite64, {"pwrite64", Names::Descriptor}},
        {SYS_writev, {"writev", Names::Descriptor}},
        {SYS_pwritev, {"pwritev", Names::Descriptor}},
        {SYS_pwritev2, {"pwritev2", Names::Descriptor}},
        {SYS_vmsplice, {"vmsplice", Names::Descriptor}},
        {SYS_lseek, {"lseek", Names::Descriptor}},
        {SYS_readahead, {"readahead", Names::Descriptor}},
        {SYS_fadvise64, {"fadvise64", Names::Descriptor}},
        {SYS_fsync, {"fsync", Names::Descriptor}},
        {SYS_fdatasync, {"fdatasync", Names::Descriptor}},
        {SYS_sync_file_range, {"sync_file_range", Names::Descriptor}},
        {SYS_syncfs, {"syncfs", Names::Descriptor}},
        {SYS_ftruncate, {"ftruncate", Names::Descriptor}},
        {SYS_fallocate, {"fallocate", Names::Descriptor}},
        {SYS_flock, {"flock", Names::Descriptor}},
        {SYS_fcntl, {"fcntl", Names::Descriptor}},
        {SYS_ioctl, {"ioctl", Names::Descriptor}},
        {SYS_getdents, {"getdents", Names::Descriptor}},
        {SYS_getdents64, {"getdents64", Names::Descriptor}},
        {SYS_fstat, {"fstat", Names::Descriptor}},
        {SYS_fstatfs, {"fstatfs", Names::Descriptor}},
        {SYS_fchmod, {"fchmod", Names::Descriptor}},
        {SYS_fchown, {"fchown", Names::Descriptor}},
        {SYS_fchdir, {"fchdir", Names::Descriptor}},
        {SYS_fgetxattr, {"fgetxattr", Names::Descriptor}},
        {SYS_flistxattr, {"flistxattr", Names::Descriptor}},
        {SYS_fsetxattr, {"fsetxattr", Names::Descriptor}},
        {SYS_fremovexattr, {"fremovexattr", Names::Descriptor}},
        {SYS_open, {"open", Names::Path}},
        {SYS_creat, {"creat", Names::Path}},
        {SYS_stat, {"stat", Names::Path}},
        {SYS_lstat, {"lstat", Names::Path}},
        {SYS_statfs, {"statfs", Names::Path}},
        {SYS_access, {"access", Names::Path}},
        {SYS_readlink, {"readlink", Names::Path}},
        {SYS_truncate, {"truncate", Names::Path}},
        {SYS_chmod, {"chmod", Names::Path}},
        {SYS_chown, {"chown", Names::Path}},
        {SYS_lchown, {"lchown", Names::Path}},
        {SYS_utime, {"utime", Names::Path}},
        {SYS_utimes, {"utimes", Names::Path}},
        {SYS_mknod, {"mknod", Names::Path}},
        {SYS_mkdir, {"mkdir", Names::Path}},
        {SYS_rmdir, {"rmdir", Names::Path}},
        {SYS_unlink, {"unlink", Names::Path}},
        {SYS_chdir, {"chdir", Names::Path}},
        {SYS_chroot, {"chroot", Names::Path}},
        {SYS_getxattr, {"getxattr", Names::Path}},
        {SYS_lgetxattr, {"lgetxattr", Names::Path}},
        {SYS_listxattr, {"listxattr", Names::Path}},
        {SYS_llistxattr, {"llistxattr", Names::Path}},
        {SYS_setxattr, {"setxattr", Names::Path}},
        {SYS_lsetxattr, {"lsetxattr", Names::Path}},
        {SYS_removexattr, {"removexattr", Names::Path}},
        {SYS_lremovexattr, {"lremovexattr", Names::Path}},
        {SYS_execve, {"execve", Names::Path}},
        {SYS_openat, {"openat", Names::PathAt}},
        {SYS_openat2, {"openat2", Names::PathAt}},
        {SYS_newfstatat, {"newfstatat", Names::PathAt}},
        {SYS_statx, {"statx", Names::PathAt}},
        {SYS_faccessat, {"faccessat", Names::PathAt}},
        {SYS_faccessat2, {"faccessat2", Names::PathAt}},
        {SYS_readlinkat, {"readlinkat", Names::PathAt}},
        {SYS_fchmodat, {"fchmodat", Names::PathAt}},
        {SYS_fchownat, {"fchownat", Names::PathAt}},
        {SYS_utimensat, {"utimensat", Names::PathAt}},
        {SYS_futimesat, {"futimesat", Names::PathAt}},
        {SYS_mknodat, {"mknodat", Names::PathAt}},
        {SYS_mkdirat, {"mkdirat", Names::PathAt}},
        {SYS_unlinkat, {"unlinkat", Names::PathAt}},
        {SYS_name_to_handle_at, {"name_to_handle_at", Names::PathAt}},
        {SYS_inotify_add_watch, {"inotify_add_watch", Names::PathAt}},
        {SYS_execveat, {"execveat", Names::PathAt}},
        {SYS_rename, {"rename", Names::TwoPaths}},
        {SYS_link, {"link", Names::TwoPaths}},
        {SYS_symlink, {"symlink", Names::TwoPaths}},
        {SYS_renameat, {"renameat", Names::TwoPathsAt}},
        {SYS_renameat2, {"renameat2", Names::TwoPathsAt}},
        {SYS_linkat, {"linkat", Names::TwoPathsAt}},
        {SYS_symlinkat, {"symlinkat", Names::TextAndPathAt}},
        {SYS_sendfile, {"sendfile", Names::TwoDescriptors}},
        {SYS_tee, {"tee", Names::TwoDescriptors}},
        {SYS_splice, {"splice", Names::FirstAndThirdDescriptor}},
        {SYS_copy_file_range, {"copy_file_range", Names::FirstAndThirdDescriptor}},
        {SYS_mmap, {"mmap", Names::FifthDescriptor}},
#ifdef SYS_fchmodat2
        {SYS_fchmodat2, {"fchmodat2", Names::PathAt}},
#endif
    };
    return calls;
}

const std::map<long, const char*>& reachingCalls() {
    static const std::map<long, const char*> calls = {
        {SYS_socket, "socket"}, {SYS_connect, "connect"}, {SYS_clone, "clone"},   {SYS_clone3, "clone3"},
        {SYS_fork, "fork"},     {SYS_vfork, "vfork"},     {SYS_execve, "execve"},
    };
    return calls;
}

bool isWrite(long number) { return number == SYS_write || number == SYS_pwrite64; }

/// One process that stops at each system call.
class Tracee {
public:
    explicit Tracee(pid_t process) : process_(process) {}

    /// Waits for the process to stop for the first time. @return false if it cannot be traced.
    bool attach() {
        int status = 0;
        if (waitpid(process_, &status, 0) != process_ || !WIFSTOPPED(status)) {
            return false;
        }
        constexpr long options = PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL;
        return ptrace(PTRACE_SETOPTIONS, process_, nullptr, options) == 0;
    }

    /// Goes on to the next beginning or end of a call. @return false once the process has ended; status() is set then.
    bool nextStop() {
        int signal = 0;
        for (;;) {
            ptrace(PTRACE_SYSCALL, process_, nullptr, signal);
            int status = 0;
            if (waitpid(process_, &status, 0) != process_) {
                return false;
            }
            if (!WIFSTOPPED(status)) {
                status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
                return false;
            }
            if (WSTOPSIG(status) == (SIGTRAP | 0x80)) {
                ptrace(PTRACE_GETREGS, process_, nullptr, &registers_);
                return true;
            }
            signal = WSTOPSIG(status);
        }
    }

    user_regs_struct& registers() { return registers_; }
    void setRegisters() { ptrace(PTRACE_SETREGS, process_, nullptr, &registers_); }
    void kill() const { ::kill(process_, SIGKILL); }
    int status() const { return status_; }

    std::string textAt(unsigned long long address) const {
        std::string text;
        for (;;) {
            // To the end of a page at most, since what follows need not be mapped.
            std::array<char, 256> piece{};
            const std::size_t wanted = piece.size() - address % piece.size();
            const iovec here{piece.data(), wanted};
            const iovec there{reinterpret_cast<void*>(address), wanted};
            const ssize_t got = process_vm_readv(process_, &here, 1, &there, 1, 0);
            const std::string_view read(piece.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
            text += read.substr(0, read.find('\0'));
            if (read.empty() || read.find('\0') != std::string_view::npos || text.size() > PATH_MAX) {
                return text;
            }
            address += read.size();
        }
    }

    /// @param descriptor AT_FDCWD stands for the folder that the process works in.
    std::string pathOf(unsigned long long descriptor) const {
        const int number = static_cast<int>(descriptor);
        return linkOf(number == AT_FDCWD ? "cwd" : "fd/" + std::to_string(number));
    }

    /// The whole path of what a call names by a text and a folder's descriptor.
    std::string pathAt(unsigned long long descriptor, unsigned long long address) const {
        const std::string text = textAt(address);
        if (text.starts_with(ownDescriptors)) {
            return linkOf("fd/" + text.substr(ownDescriptors.size()));
        }
        const std::string folder = text.starts_with("/") ? "" : pathOf(descriptor);
        if (text.empty()) {
            return folder;
        }
        const std::string path = (std::filesystem::path(folder) / text).lexically_normal();
        return path.size() > 1 && path.ends_with('/') ? path.substr(0, path.size() - 1) : path;
    }

private:
    // The C library changes the mode of what may be a link by way of these.
    static constexpr std::string_view ownDescriptors = "/proc/self/fd/";

    std::string linkOf(const std::string& name) const {
        std::array<char, PATH_MAX> path{};
        const std::string link = "/proc/" + std::to_string(process_) + "/" + name;
        const ssize_t length = ::readlink(link.c_str(), path.data(), path.size() - 1);
        return length > 0 ? std::string(path.data(), static_cast<std::size_t>(length)) : "";
    }

    const pid_t process_;
    user_regs_struct registers_{};
    int status_ = -1;
};

Call described(const Tracee& tracee, const FileCall& call, const user_regs_struct& registers) {
    constexpr auto here = static_cast<unsigned long long>(AT_FDCWD);
    switch (call.names) {
    case Names::Path:
        return {call.name, tracee.pathAt(here, registers.rdi), ""};
    case Names::Descriptor:
        return {call.name, tracee.pathOf(registers.rdi), ""};
    case Names::PathAt:
        return {call.name, tracee.pathAt(registers.rdi, registers.rsi), ""};
    case Names::TwoPaths:
        return {call.name, tracee.pathAt(here, registers.rdi), tracee.pathAt(here, registers.rsi)};
    case Names::TwoDescriptors:
        return {call.name, tracee.pathOf(registers.rdi), tracee.pathOf(registers.rsi)};
    case Names::FirstAndThirdDescriptor:
        return {call.name, tracee.pathOf(registers.rdi), tracee.pathOf(registers.rdx)};
    case Names::FifthDescriptor:
        return {call.name, tracee.pathOf(registers.r8), ""};
    case Names::TextAndPathAt:
        return {call.name, "", tracee.pathAt(registers.rsi, registers.rdx)};
    case Names::TwoPathsAt:
        break;
    }
    return {call.name, tracee.pathAt(registers.rdi, registers.rsi), tracee.pathAt(registers.rdx, registers.r10)};
}

/// Follows a process from call to call and does to it what the fault says.
class Watch {
public:
    Watch(Tracee& tracee, const std::string& folder, const Fault& fault)
        : tracee_(tracee), folder_(folder), resolvedFolder_(std::filesystem::weakly_canonical(folder)), fault_(fault) {}

    Traced run() {
        traced_.allowed = true;
        while (tracee_.nextStop()) {
            enters_ = !enters_;
            if (enters_) {
                enter();
            } else {
                leave();
            }
        }
        traced_.status = tracee_.status();
        return std::move(traced_);
    }

private:
    void enter() {
        const long number = static_cast<long>(tracee_.registers().orig_rax);
        if (number == SYS_getpriority) {
            const id_t who = static_cast<id_t>(tracee_.registers().rsi);
            counts_ = who == beginMark || (who != endMark && counts_);
            return;
        }
        if (const auto reach = reachingCalls().find(number); counts_ && reach != reachingCalls().end()) {
            traced_.reaches.emplace_back(reach->second);
        }
        const auto call = fileCalls().find(number);
        if (!counts_ || call == fileCalls().end()) {
            return;
        }
        Call made = described(tracee_, call->second, tracee_.registers());
        if (!isWatched(made.path) && !isWatched(made.target)) {
            return;
        }
        const std::size_t index = traced_.calls.size();
        traced_.calls.push_back(std::move(made));
        if (index > moreCallsThanAnyoneNeeds) {
            traced_.wentOnForEver = true;
            tracee_.kill();
        }
        if (index >= fault_.at && index - fault_.at < fault_.times) {
            inflict(number);
        }
    }

    bool isWatched(const std::string& path) const { return isWithin(folder_, path) || isWithin(resolvedFolder_, path); }

    void inflict(long number) {
        if (fault_.kind == Fault::Kind::Kill) {
            tracee_.kill();
        } else if (fault_.kind == Fault::Kind::Fail) {
            // A descriptor is gone after a close that has failed, too.
            if (number != SYS_close) {
                tracee_.registers().orig_rax = ~0ULL;
                tracee_.setRegisters();
            }
            isFailing_ = true;
        } else if (fault_.kind == Fault::Kind::ShortWrite && isWrite(number) && tracee_.registers().rdx > 1) {
            wholeLength_ = tracee_.registers().rdx;
            tracee_.registers().rdx /= 2;
            tracee_.setRegisters();
        } else {
            return;
        }
        traced_.faultCame = true;
    }

    void leave() {
        if (std::exchange(isFailing_, false)) {
            tracee_.registers().rax = static_cast<unsigned long long>(-static_cast<long long>(fault_.error));
            tracee_.setRegisters();
        }
        if (const auto length = std::exchange(wholeLength_, std::nullopt)) {
            // The caller counts on its registers.
            tracee_.registers().rdx = *length;
            tracee_.setRegisters();
        }
    }

    Tracee& tracee_;
    const std::string folder_;
    const std::string resolvedFolder_;  ///< as descriptors tell it
    const Fault fault_;
    bool enters_ = false;
    bool counts_ = false;
    bool isFailing_ = false;
    std::optional<unsigned long long> wholeLength_;
    Traced traced_;
};

}  // namespace

Traced runTraced(const std::string& folder, const std::function<int()>& body, const Fault& fault) {
    const support::ForkedChild child([&](int) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
            return 1;
        }
        raise(SIGSTOP);
        return body();
    });
    Tracee tracee(child.id());
    if (!tracee.attach()) {
        return {};
    }
    return Watch(tracee, folder, fault).run();
}

void markBegin() { getpriority(PRIO_PROCESS, beginMark); }

void markEnd() { getpriority(PRIO_PROCESS, endMark); }

#else

Traced runTraced(const std::string&, const std::function<int()>&, const Fault&) { return {}; }

void markBegin() {}

void markEnd() {}

#endif

}  // namespace torture
