#include "DevServerOptions.h"

#include <cstdint>

#include "Support/DecimalText.h"
#include "Support/Errors.h"
#include "Support/Text.h"

namespace glimto {

namespace {

int portNumber(const std::string& text)
{
    if (const auto port = wholeNumber<std::uint16_t>(text))
        return *port;
    throw CLIError("--port must be a number from 0 to 65535.");
}

std::string nonEmpty(const std::string& flag, const std::string& text)
{
    if (auto value = trimmedNonEmpty(text))
        return *value;
    throw CLIError(flag + " must not be empty.");
}

} // namespace

DevServerOptions DevServerOptions::parse(std::span<const std::string> arguments)
{
    DevServerOptions options;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        const std::string& flag = arguments[index];
        if (flag == "--help" || flag == "-h") {
            options.showsHelp = true;
            return options;
        }
        const bool isKnown = flag == "--port" || flag == "--bind" || flag == "--dir" || flag == "--access-key"
            || flag == "--web-dir" || flag == "--host-name";
        if (!isKnown)
            throw CLIError("Unknown option '" + flag + "'. Run `glimto-dev-server --help`.");
        if (index + 1 == arguments.size())
            throw CLIError(flag + " needs a value.");
        const std::string& value = arguments[++index];
        if (flag == "--port")
            options.port = portNumber(value);
        else if (flag == "--bind")
            options.address = nonEmpty(flag, value);
        else if (flag == "--dir")
            options.directory = nonEmpty(flag, value);
        else if (flag == "--access-key")
            options.accessKey = nonEmpty(flag, value);
        else if (flag == "--host-name")
            options.hostNames.push_back(nonEmpty(flag, value));
        else
            options.webDirectory = nonEmpty(flag, value);
    }
    return options;
}

std::string devServerUsage()
{
    return "glimto-dev-server - receives recordings on this machine, for development and tests only\n"
           "\n"
           "USAGE\n"
           "  glimto-dev-server [options]\n"
           "\n"
           "OPTIONS\n"
           "  --port <number>      Port to listen on; 0 takes any free one. Default: 3000\n"
           "  --bind <address>     Address to listen on. Default: 127.0.0.1, this machine only\n"
           "  --dir <directory>    Where recordings are kept. Default: glimto-dev-server\n"
           "  --host-name <name>   Answer under this name too; others than addresses and this machine's\n"
           "                       own names are refused, as pages of other sites could use them\n"
           "  --access-key <key>   Refuse API requests without this key. Pages need none\n"
           "  --web-dir <dir>      Where hls.min.js lies, for browsers without HLS of their own\n"
           "\n"
           "The list of recordings is at http://localhost:<port>/recordings.";
}

} // namespace glimto
