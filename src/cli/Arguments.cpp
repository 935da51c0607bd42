#include "cli/Arguments.h"

#include "cli/ExitCode.h"

#include <algorithm>
#include <vector>

namespace cli {

namespace {

std::vector<const OptionEntry*> ReadingOrder(const CommandEntry& command) {
    std::vector<const OptionEntry*> order;
    for (const OptionEntry& option : command.options)
        if (option.read) order.push_back(&option);
    std::ranges::stable_sort(order, {}, [&command](const OptionEntry* option) {
        return std::ranges::find(command.order, option->Key()) - command.order.begin();
    });
    return order;
}

} // namespace

Arguments ReadArguments(const CommandLine& line) {
    Arguments arguments;
    arguments.line = line;
    const CommandEntry& command = line.GetCommand();
    if (command.readInputs) command.readInputs(line, arguments);
    for (const OptionEntry* option : ReadingOrder(command)) {
        if (!option->missing.empty() && line.Get(*option).empty())
            throw UsageError(std::string(option->missing));
        if (line.Has(*option))
            option->read({std::string(option->Key()), line.GetAll(*option), line}, arguments);
    }
    return arguments;
}

} // namespace cli
