#pragma once

#include <cstdint>
#include <exception>
#include <stdexcept>
#include <string>

namespace glimto {

// What a driving program is told of an error: the sentence for the user, and where it came from.
struct ErrorFacts {
    std::string message;
    std::string type; // name of the error's dynamic type
    std::string domain; // which system the code belongs to, such as "POSIX" or "X11"
    std::int64_t code = 0; // the error's number within its domain
};

// Base of all errors of this program.
class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    virtual ErrorFacts facts() const = 0;
};

// An error of user input, and most failures. The message is the whole sentence the user reads.
class CLIError : public Error {
public:
    using Error::Error;
    ErrorFacts facts() const override;
};

// An error of the system below: keeps the domain, number and text that it gave.
class PlatformError : public Error {
public:
    PlatformError(std::string domain, std::int64_t code, const std::string& message);

    const std::string& domain() const { return domain_; }
    std::int64_t code() const { return code_; }
    ErrorFacts facts() const override;

    // For a failed POSIX call: "<what>: <text of errorNumber>", domain "POSIX".
    static PlatformError posix(const std::string& what, int errorNumber);

private:
    std::string domain_;
    std::int64_t code_;
};

// The facts of any exception; one that is not of this program gets its C++ type name and domain "std".
ErrorFacts errorFacts(const std::exception& error);
ErrorFacts errorFacts(const std::exception_ptr& error);

} // namespace glimto
