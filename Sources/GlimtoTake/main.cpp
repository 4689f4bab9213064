#include <csignal>
#include <string>
#include <vector>

#include "Backends/Desktop/LinuxProcessEnvironment.h"
#include "Backends/Images/DeflatePNGCodec.h"
#include "Backends/Images/TurboImageCodec.h"
#include "GlimtoTake/Media/TakeExamination.h"
#include "ProgressLine.h"
#include "Support/DescriptorLineOutput.h"
#include "Support/Errors.h"
#include "Support/StandardStreams.h"
#include "Support/Text.h"
#include "TakeExport.h"
#include "TakeOptions.h"
#include "TakeRender.h"
#include "TakeRepair.h"
#include "TakeReports.h"
#include "TakeVerification.h"

namespace {

using namespace glimto;

void writeLines(const std::vector<std::string>& lines, LineOutput& output)
{
    std::string text;
    for (const std::string& line : lines)
        text.append(text.empty() ? "" : "\n").append(singleLine(line));
    output.writeDocument(text);
}

void tellOfTake(const TakeOptions& options, LineOutput& output)
{
    const auto take = examineTake(options.take);
    if (options.json)
        output.writeDocument(infoJSON(take));
    else
        writeLines(infoLines(take), output);
}

void repair(const TakeOptions& options, LineOutput& output)
{
    TurboImageCodec images;
    const auto mode = options.dryRun ? RepairMode::tellOnly : RepairMode::perform;
    const auto report = repairTake(options.take, mode, images);
    if (options.json)
        output.writeDocument(repairJSON(report, mode));
    else
        writeLines(repairLines(report, mode), output);
}

void exportFile(const TakeOptions& options, LineOutput& output)
{
    DeflatePNGCodec pngCodec;
    ExportReport report;
    {
        ProgressLine line("Exporting");
        report = exportTake(options, pngCodec, [&](double done) { line.show(done); });
    }
    output.writeDocument(options.json ? exportJSON(report) : exportLine(report));
}

void renderFile(const TakeOptions& options, LineOutput& output)
{
    ExportReport report;
    {
        ProgressLine line("Rendering");
        report = renderTakeFile(options, [&](double done) { line.show(done); });
    }
    output.writeDocument(options.json ? exportJSON(report) : exportLine(report));
}

// The exit status.
int run(const TakeOptions& options, LineOutput& output)
{
    switch (options.command) {
    case TakeCommand::help:
        output.writeDocument(takeUsage());
        return 0;
    case TakeCommand::info:
        tellOfTake(options, output);
        return 0;
    case TakeCommand::verify:
        return verifyTake(options.take, LinuxProcessEnvironment().executablePath(),
            options.json ? VerificationOutput::json : VerificationOutput::lines, output);
    case TakeCommand::repair:
        repair(options, output);
        return 0;
    case TakeCommand::exportFile:
        exportFile(options, output);
        return 0;
    case TakeCommand::render:
        renderFile(options, output);
        return 0;
    }
    return 1;
}

} // namespace

int main(int argumentCount, char** argumentValues)
{
    openStandardStreams();
    std::signal(SIGPIPE, SIG_IGN);
    silenceMediaLibraries();
    std::signal(SIGXFSZ, SIG_IGN); // a limit of file sizes is told like a full disk
    DescriptorLineOutput standardOutput(1);
    DescriptorLineOutput standardError(2);
    const std::vector<std::string> arguments(argumentValues + 1, argumentValues + argumentCount);
    try {
        return run(TakeOptions::parse(arguments), standardOutput);
    } catch (const std::exception& error) {
        standardError.writeLine("error: " + singleLine(errorFacts(error).message));
        return 1;
    }
}
