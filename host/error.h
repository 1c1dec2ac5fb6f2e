// What a host shows when something can't be done: one sentence that names the file or the argument,
// the reason, and what to do about it.
#pragma once

#include <stdexcept>
#include <string>

namespace vorlane::host {

// A program ends with this line on standard error and exit status 1.
class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Arguments without a meaning: exit status 2.
class UsageError : public Error {
public:
    using Error::Error;
};

} // namespace vorlane::host
