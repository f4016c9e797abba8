#include "fakes/ScriptedNames.h"

#include <dlfcn.h>
#include <netdb.h>

#include <condition_variable>
#include <mutex>
#include <optional>

namespace fakes {

namespace {

/// What a name stands for.
struct Script {
    std::string address = {};
    int failure = 0;
    bool silent = false;
};

/// What the scope has said; it is there as long as the process.
struct Book {
    std::mutex mutex;
    std::condition_variable changed;
    std::map<std::string, Script> scripts;
    std::size_t silences = 0;  ///< ever begun
    std::size_t waiting = 0;   ///< of them
    bool open = false;

    void write(const std::string& name, const Script& script) {
        const std::lock_guard<std::mutex> lock(mutex);
        scripts[name] = script;
    }

    /// Nothing for names of others.
    std::optional<Script> lookUp(const std::string& name) {
        std::unique_lock<std::mutex> lock(mutex);
        const auto found = scripts.find(name);
        if (found == scripts.end()) {
            return std::nullopt;
        }
        if (!open) {
            return Script{.failure = EAI_AGAIN};  // from a thread that comes late
        }
        if (!found->second.silent) {
            return found->second;
        }
        ++silences;
        ++waiting;
        changed.notify_all();
        changed.wait(lock, [this] { return !open; });
        --waiting;
        changed.notify_all();
        return Script{.failure = EAI_AGAIN};
    }
};

Book& book() {
    static Book* const forever = new Book;
    return *forever;
}

}  // namespace

ScriptedNames::ScriptedNames() {
    const std::lock_guard<std::mutex> lock(book().mutex);
    book().scripts.clear();
    book().silences = 0;
    book().open = true;
}

ScriptedNames::~ScriptedNames() {
    std::unique_lock<std::mutex> lock(book().mutex);
    book().open = false;
    book().changed.notify_all();
    book().changed.wait(lock, [] { return book().waiting == 0; });
}

void ScriptedNames::answer(const std::string& name, const std::string& address) {
    book().write(name, {.address = address});
}

void ScriptedNames::refuse(const std::string& name) { book().write(name, {.failure = EAI_NONAME}); }

void ScriptedNames::fail(const std::string& name) { book().write(name, {.failure = EAI_AGAIN}); }

void ScriptedNames::keepSilent(const std::string& name) { book().write(name, {.silent = true}); }

void ScriptedNames::waitForSilence(std::size_t lookUps) {
    std::unique_lock<std::mutex> lock(book().mutex);
    book().changed.wait(lock, [lookUps] { return book().silences >= lookUps; });
}

std::size_t ScriptedNames::silences() const {
    const std::lock_guard<std::mutex> lock(book().mutex);
    return book().silences;
}

}  // namespace fakes

/// In place of the system's, for the program that links this file and its libraries.
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* name, const char* service,
                                                                  const addrinfo* hints, addrinfo** result) {
    using Function = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "getaddrinfo"));
    const std::optional<fakes::Script> script = fakes::book().lookUp(name == nullptr ? "" : name);
    if (script && script->failure != 0) {
        return script->failure;
    }
    return real(script ? script->address.c_str() : name, service, hints, result);
}
