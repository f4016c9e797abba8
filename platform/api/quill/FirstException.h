#pragma once

#include <exception>

namespace QuillCoreUtils {

/// What steps have thrown that are all to be done, whatever one of them throws: the first exception is kept until then,
/// each further one is a level 2 line. One thread.
class FirstException {
public:
    /// @param logger the name of the logger for the further ones; a literal.
    explicit FirstException(const char* logger) : logger_(logger) {}

    /// Does a step and keeps what it throws.
    /// @param text how the line of a further one begins.
    template <typename Step>
    void keepOf(const Step& step, const char* text) {
        try {
            step();
        } catch (...) {
            keep(text);
        }
    }

    /// Inside a catch block: keeps the exception if it is the first one, else says in the log what it was.
    void keep(const char* text);

    /// Throws the first one. Does nothing if there is none.
    void rethrow() const {
        if (first_ != nullptr) {
            std::rethrow_exception(first_);
        }
    }

private:
    const char* const logger_;
    std::exception_ptr first_;
};

}  // namespace QuillCoreUtils
