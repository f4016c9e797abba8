#pragma once

#include <libxml/xmlerror.h>
#include <sys/resource.h>

namespace support {

/// Lets this process open no file, until the XML library has told of what came of that if so wished. The library tells
/// nobody else meanwhile.
class NoMoreDescriptors {
public:
    enum class Until { ItIsTold, TheEnd };

    explicit NoMoreDescriptors(Until until) {
        getrlimit(RLIMIT_NOFILE, &before_);
        const rlimit none{0, before_.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
        xmlSetGenericErrorFunc(this, until == Until::ItIsTold ? end : ignore);
    }
    ~NoMoreDescriptors() {
        setrlimit(RLIMIT_NOFILE, &before_);
        xmlSetGenericErrorFunc(nullptr, nullptr);
    }

    NoMoreDescriptors(const NoMoreDescriptors&) = delete;
    NoMoreDescriptors& operator=(const NoMoreDescriptors&) = delete;

private:
    static void ignore(void*, const char*, ...) {}
    static void end(void* self, const char*, ...) {
        setrlimit(RLIMIT_NOFILE, &static_cast<NoMoreDescriptors*>(self)->before_);
    }

    rlimit before_{};
};

}  // namespace support
