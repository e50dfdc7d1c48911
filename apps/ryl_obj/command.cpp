#include "command.h"
#include "number.h"

#include <getopt.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int HELP = -2;        // getopt's value of "--help"; the options have theirs from 0 on
constexpr int HELP_WIDTH = 28;  // of the column of options

void printOption(const Option& option) {
    std::string name = std::string("  --") + option.name;
    if (option.value != nullptr) name += std::string(" ") + option.value;
    std::string_view help = option.help;
    for (bool first = true; first || !help.empty(); first = false) {
        const std::string_view line = help.substr(0, help.find('\n'));
        std::printf("%-*s %.*s\n", HELP_WIDTH, first ? name.c_str() : "", static_cast<int>(line.size()), line.data());
        help.remove_prefix(std::min(help.size(), line.size() + 1));
    }
}

[[noreturn]] void printHelp(const Command& command) {
    std::printf("Usage: ryl-obj %s [OPTION...] %s\n\n%s\n\n", command.name, command.operands, command.summary);
    for (const Option& option : command.options) printOption(option);
    printOption({"help", nullptr, "print this, and end"});
    if (*command.details != '\0') std::printf("\n%s\n", command.details);
    std::exit(std::fflush(stdout) == 0 ? FINE : UNUSABLE);
}

std::vector<option> getoptTable(const Command& command) {
    std::vector<option> table;
    int number = 0;
    for (const Option& option : command.options)
        table.push_back({option.name, option.value != nullptr ? required_argument : no_argument, nullptr, number++});
    table.push_back({"help", no_argument, nullptr, HELP});
    table.push_back({});
    return table;
}

[[noreturn]] void refuseUsage(const Command& command) {
    std::fprintf(stderr, "Try: ryl-obj %s --help\n", command.name);
    std::exit(UNUSABLE);
}

}  // namespace

CommandLine readCommandLine(const Command& command, int argc, char** argv) {
    CommandLine line;
    // getopt's messages begin with this.
    std::string name = std::string("ryl-obj ") + command.name;
    argv[0] = name.data();
    const std::vector<option> table = getoptTable(command);
    int known = 0;
    for (;;) {
        const int found = getopt_long(argc, argv, "", table.data(), &known);
        if (found == -1) break;
        if (found == HELP) printHelp(command);
        if (found == '?') refuseUsage(command);
        line.options.push_back({table[static_cast<std::size_t>(found)].name, optarg != nullptr ? optarg : ""});
    }
    line.operands.assign(argv + optind, argv + argc);
    const int count = argc - optind;
    if (count >= command.least && count <= command.most) return line;
    report("", 0, std::string(command.name) + " takes " + command.operands);
    refuseUsage(command);
}

const char* valueOf(const CommandLine& line, std::string_view option) {
    const char* value = nullptr;
    for (const GivenOption& given : line.options)
        if (given.name == option) value = given.value;
    return value;
}

double numberOf(const GivenOption& option, double least, double most) {
    const char* const end = option.value + std::strlen(option.value);
    double number = 0;
    if (ryl_numberAt<double>(option.value, number) == end && number >= least && number <= most) return number;
    refuse("--%s takes a number from %g to %g, not \"%s\"", std::string(option.name).c_str(), least, most,
           printable(option.value).c_str());
}

double numberOf(const CommandLine& line, std::string_view option, double least, double most, double otherwise) {
    const char* value = valueOf(line, option);
    return value == nullptr ? otherwise : numberOf({option, value}, least, most);
}

std::size_t choiceOf(const GivenOption& option, std::span<const char* const> choices) {
    std::string all;
    for (std::size_t i = 0; i < choices.size(); ++i) {
        if (std::strcmp(choices[i], option.value) == 0) return i;
        all += (i == 0 ? "" : ", ") + std::string(choices[i]);
    }
    refuse("--%s takes one of %s, not \"%s\"", std::string(option.name).c_str(), all.c_str(),
           printable(option.value).c_str());
}
