#pragma once

namespace support {

/// Lets this process open no file, as if it had no descriptors left (EMFILE), until the XML library has told of what
/// came of that if so wished. The library tells nobody else meanwhile.
///
/// Stands in for the C library's open() and openat(), by which the module opens what it reads and writes: a sanitizer
/// needs descriptors of its own all the time.
class NoMoreDescriptors {
public:
    enum class Until { ItIsTold, TheEnd };

    explicit NoMoreDescriptors(Until until);
    ~NoMoreDescriptors();

    NoMoreDescriptors(const NoMoreDescriptors&) = delete;
    NoMoreDescriptors& operator=(const NoMoreDescriptors&) = delete;
};

}  // namespace support
