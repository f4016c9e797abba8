#include "Watchdog.h"

#include <dirent.h>
#include <execinfo.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define CORVID_HAS_SANITIZER_STACKS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define CORVID_HAS_SANITIZER_STACKS 1
#endif
#endif

#ifdef CORVID_HAS_SANITIZER_STACKS
extern "C" void __sanitizer_print_stack_trace();
#endif

namespace support {

namespace {

/// A sanitizer puts most signals off until the thread leaves a lock that it waits for, but not this one.
constexpr int STACK_SIGNAL = SIGSYS;

std::atomic<bool> hasPrinted = false;

void printStack(int) {
#ifdef CORVID_HAS_SANITIZER_STACKS
    __sanitizer_print_stack_trace();
#else
    std::array<void*, 64> frames;
    backtrace_symbols_fd(frames.data(), backtrace(frames.data(), static_cast<int>(frames.size())), STDERR_FILENO);
#endif
    hasPrinted = true;
}

std::vector<pid_t> otherThreads() {
    std::vector<pid_t> threads;
    if (DIR* const directory = opendir("/proc/self/task")) {
        while (const dirent* const entry = readdir(directory)) {
            const pid_t thread = static_cast<pid_t>(std::atoi(entry->d_name));
            if (thread != 0 && thread != gettid()) {
                threads.push_back(thread);
            }
        }
        closedir(directory);
    }
    return threads;
}

void printStackOf(pid_t thread) {
    std::fprintf(stderr, "thread %d:\n", static_cast<int>(thread));
    hasPrinted = false;
    syscall(SYS_tgkill, getpid(), thread, STACK_SIGNAL);
    // A thread that does not answer must not keep the others from it.
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!hasPrinted && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
    }
}

void printAllStacks() {
    struct sigaction action {};
    action.sa_handler = printStack;
    sigaction(STACK_SIGNAL, &action, nullptr);
    for (const pid_t thread : otherThreads()) {
        printStackOf(thread);
    }
}

}  // namespace

Watchdog::Watchdog(std::chrono::milliseconds patience) : thread_([this, patience] { watch(patience); }) {}

Watchdog::~Watchdog() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isOver_ = true;
    }
    over_.notify_one();
    thread_.join();
}

void Watchdog::watch(std::chrono::milliseconds patience) {
    std::unique_lock<std::mutex> lock(mutex_);
    std::uint64_t seen = moves_.load(std::memory_order_relaxed);
    while (!over_.wait_for(lock, patience, [this] { return isOver_; })) {
        const std::uint64_t now = moves_.load(std::memory_order_relaxed);
        if (now == seen) {
            std::fprintf(stderr, "nothing has moved for %lld ms\n", static_cast<long long>(patience.count()));
            printAllStacks();
            std::abort();
        }
        seen = now;
    }
}

}  // namespace support
