#include "Support/Errors.h"

#include <cstdlib>
#include <memory>
#include <system_error>
#include <typeinfo>

#include <cxxabi.h>

namespace glimto {

namespace {

std::string typeName(const std::exception& error)
{
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(typeid(error).name(), nullptr, nullptr, &status), &std::free);
    return status == 0 && name ? name.get() : typeid(error).name();
}

} // namespace

ErrorFacts CLIError::facts() const
{
    return {what(), "CLIError", "GlimtoCapture.CLIError", 1};
}

PlatformError::PlatformError(std::string domain, std::int64_t code, const std::string& message)
    : Error(message)
    , domain_(std::move(domain))
    , code_(code)
{
}

ErrorFacts PlatformError::facts() const
{
    return {what(), "PlatformError", domain_, code_};
}

PlatformError PlatformError::posix(const std::string& what, int errorNumber)
{
    return {"POSIX", errorNumber, what + ": " + std::generic_category().message(errorNumber)};
}

ErrorFacts errorFacts(const std::exception& error)
{
    if (const auto* own = dynamic_cast<const Error*>(&error))
        return own->facts();
    return {error.what(), typeName(error), "std", 0};
}

ErrorFacts errorFacts(const std::exception_ptr& error)
{
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& exception) {
        return errorFacts(exception);
    } catch (...) {
        return {"unknown error", "unknown", "std", 0};
    }
}

} // namespace glimto
