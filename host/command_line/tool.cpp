#include "host/command_line/tool.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>

#include "host/program/exit_codes.h"
#include "host/program/messages.h"
#include "host/program/nearest_name.h"
#include "host/program/standard_streams.h"

namespace eishost {

namespace {

using Names = std::vector<std::string>;

Names commandNames(const CLI::App& app) {
    Names names;
    for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
    return names;
}

// "eis-host tuning show"
std::string fullName(const CLI::App& command) {
    const CLI::App* const parent = command.get_parent();
    return (parent != nullptr ? fullName(*parent) + " " : "") + command.get_name();
}

std::string withNearest(const std::string& what, const std::string& name, const Names& known) {
    const std::string nearest = nearestName(name, known);
    return what + (nearest.empty() ? "" : ", did you mean " + nearest + "?");
}

// The command that the first words name; one that is unknown is an error. A "help" among them becomes the option
// --help.
const CLI::App& takeCommand(const CLI::App& app, Names& words) {
    const CLI::App* at = &app;
    auto word = words.begin();
    bool wantsHelp = false;
    while (word != words.end() && !word->starts_with("-") && !at->get_subcommands({}).empty()) {
        if (*word == "help") {
            wantsHelp = true;
            word = words.erase(word);
            continue;
        }
        const auto commands = at->get_subcommands({});
        const auto next = std::find_if(commands.begin(), commands.end(),
                                       [&](const CLI::App* command) { return command->get_name() == *word; });
        if (next == commands.end()) {
            throw HostError(kExitUsage, withNearest("unknown command " + *word, *word, commandNames(*at)) + " ('" +
                                            fullName(*at) + " help' lists them)");
        }
        at = *next;
        ++word;
    }
    if (wantsHelp) words.insert(word, "--help");
    return *at;
}

// One line on a command line that does not parse.
std::string parseErrorText(const CLI::App& command, const CLI::ParseError& error) {
    std::string text = error.what();
    if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr && !command.get_subcommands({}).empty()) {
        text = "which command?";
        for (const std::string& name : commandNames(command)) text += " " + name;
    }
    const Names left = command.remaining();
    const auto option =
        std::find_if(left.begin(), left.end(), [](const std::string& word) { return word.starts_with("-"); });
    if (option != left.end()) {
        Names known;
        for (const CLI::Option* each : command.get_options()) {
            for (const std::string& name : each->get_lnames()) known.push_back("--" + name);
        }
        text = withNearest("unknown option " + *option, *option, known);
    }
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text + " ('" + fullName(command) + " --help' tells more)";
}

int parseAndRun(CLI::App& app, int argc, char** argv) {
    app.name(toolName());
    app.set_version_flag("--version", std::string(toolName()) + " " + EIS_VERSION, "Print the version");
    app.require_subcommand(1);
    app.footer("'" + app.get_name() + " help COMMAND' tells a command's arguments.\n\n" + kExitCodesHelp);
    Names words(argv + 1, argv + argc);
    const CLI::App& command = takeCommand(app, words);
    try {
        app.parse(Names(words.rbegin(), words.rend()));  // it takes them from the back
    } catch (const CLI::RuntimeError& error) {
        return error.get_exit_code();
    } catch (const CLI::Success& help) {
        app.exit(help);
    } catch (const CLI::ParseError& error) {
        throw HostError(kExitUsage, parseErrorText(command, error));
    }
    return kExitOk;
}

}  // namespace

int runTool(const char* description, void (*addCommands)(CLI::App&), int argc, char** argv) {
    holdStandardStreams();
    try {
        CLI::App app{description};
        addCommands(app);
        const int code = parseAndRun(app, argc, argv);
        finishStandardOutput();
        return code;
    } catch (const HostError& error) {
        tell(error.what());
        return error.code;
    } catch (const std::exception& error) {
        tell(std::string("internal error: ") + error.what());
        return kExitInternal;
    }
}

}  // namespace eishost
