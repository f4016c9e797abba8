#pragma once

/// Does one thing and then another, which is done also if the first throws; that goes on then, unless the second throws
/// too.
template <typename First, typename Second>
void doBoth(const First& first, const Second& second) {
    try {
        first();
    } catch (...) {
        second();
        throw;
    }
    second();
}
