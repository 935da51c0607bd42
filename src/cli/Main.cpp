#include "cli/Arguments.h"
#include "cli/AssessCommand.h"
#include "cli/BatchCommand.h"
#include "cli/CommandLine.h"
#include "cli/CompareCommand.h"
#include "cli/ExitCode.h"
#include "cli/HelpText.h"
#include "cli/InfoCommand.h"
#include "cli/MethodsCommand.h"
#include "cli/NetworkDefaults.h"
#include "cli/OptionsJson.h"
#include "cli/ProductInput.h"
#include "cli/RunJson.h"
#include "cli/SharpenCommand.h"
#include "cli/StatusText.h"
#include "cli/VectorTarget.h"
#include "cli/ViewCommand.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <new>
#include <string>

namespace {

using namespace cli;

/// Reads the arguments. A recognised product is printed before anything is done with it.
Arguments TakeArguments(const CommandLine& line) {
    Arguments arguments = ReadArguments(line);
    if (arguments.foundProduct && !arguments.json && !arguments.quiet)
        std::cout << FormatProduct(arguments) << std::flush;
    return arguments;
}

ExitCode Run(const CommandLine& line) {
    const CommandEntry& command = line.GetCommand();
    if (line.Has(option::help)) {
        std::cout << HelpText(command);
        return Done;
    }
    if (line.Has(option::version)) return RunVersion(ReadArguments(line));
    if (line.Has(option::optionsJson)) return PrintOptions(ReadArguments(line));
    ForceVectorTarget(line);
    SetNetworkDefaults();
    if (command.name == "sharpen") return RunSharpen(TakeArguments(line));
    if (command.name == "batch") return RunBatch(ReadArguments(line));
    if (command.name == "info") return RunInfo(TakeArguments(line));
    if (command.name == "assess") return RunAssess(TakeArguments(line));
    if (command.name == "compare") return RunCompare(TakeArguments(line));
    if (command.name == "view") return RunView(TakeArguments(line));
    if (command.name == "methods") return RunMethods(ReadArguments(line));
    std::cerr << HelpText(command);
    return WrongCommandLine;
}

ExitCode Fail(ExitCode code, const std::string& message, std::string_view command, bool json) {
    KOVA::Tessara::Fundament::Status status;
    status.Add(0, message, "Command");
    std::cerr << FormatErrors(status);
    if (json) std::cout << FailureJson(command, code, status);
    return code;
}

/// Ends the program. All files are closed by now, and the system takes memory back faster than the
/// destructors of a hundred libraries do, which is what a small image would wait for. Sanitizers and GDAL's
/// statistics report only from a full exit.
[[noreturn]] void Leave(ExitCode code) {
    std::fflush(nullptr);
#ifndef PANSHARP_SANITIZED
    if (!ShowsNetworkStatistics()) std::_Exit(code);
#endif
    std::exit(code);
}

} // namespace

int main(int argc, char** argv) {
    const bool json = AsksForJson(argc, argv);
    const std::string command = NamedCommand(argc, argv);
    ExitCode code = WorkFailed;
    try {
        code = Run(CommandLine::Parse(argc, argv));
    } catch (const UsageError& error) {
        code = Fail(WrongCommandLine, error.what(), command, json);
    } catch (const std::bad_alloc&) {
        code = Fail(WorkFailed, "there is not enough memory; try fewer --threads or a smaller --window",
                    command, json);
    } catch (const std::exception& error) {
        code = Fail(WorkFailed, error.what(), command, json);
    }
    if (!std::cout.flush()) {
        std::cerr << FormatError("standard output cannot be written; is its disk full or its reader gone?");
        if (code == Done) code = WorkFailed;
    }
    Leave(code);
}
