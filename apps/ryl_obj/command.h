// command.h - what the subcommands of ryl-obj share: their records, options, messages, reading a model, files that
// are written
//
// A subcommand is a file with a record: it adds its record to those below and to the table in main.cpp, and its
// file to CMakeLists.txt. Its exit status is one of Status. Memory that cannot be had is a std::bad_alloc, which
// main reports; nothing else throws.
#pragma once

#include "glm/glm_try.h"

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

enum Status { FINE = 0, FINDINGS = 1, UNUSABLE = 2 };

// ---- Command lines ------------------------------------------------------------------------------------------------

struct Option {
    const char* name;   // without its dashes
    const char* value;  // what --help calls its value, or null: a switch
    const char* help;   // one line, or several with a line end between them
};

struct GivenOption {
    std::string_view name;
    const char* value;  // "" for a switch
};

struct CommandLine {
    std::vector<const char*> operands;
    std::vector<GivenOption> options;  // in the order in which they are given
};

struct Command {
    const char* name;
    const char* operands;  // as --help shows them: "FILE..."
    int least, most;       // how many there may be
    const char* summary;   // what it does, in a line
    const char* details;   // what else --help says below the options, or ""
    std::span<const Option> options;
    int (*run)(const CommandLine& line);
};

constexpr int ANY_NUMBER = 1 << 30;

extern const Command CHECK_COMMAND, CONVERT_COMMAND, INFO_COMMAND, PICTURE_COMMAND, PROBE_COMMAND, VIEW_COMMAND;

// Reads the words behind the subcommand's name. Prints its help or what is wrong and ends the process where one of
// the two is due.
CommandLine readCommandLine(const Command& command, int argc, char** argv);

// The value of the option, given last; null if it is not given.
const char* valueOf(const CommandLine& line, std::string_view option);

// Each ends the process with status UNUSABLE and a message that names the option, if its value is of another kind.
double numberOf(const GivenOption& option, double least, double most);
double numberOf(const CommandLine& line, std::string_view option, double least, double most, double otherwise);
std::size_t choiceOf(const GivenOption& option, std::span<const char* const> choices);  // index of the choice

// ---- Messages -----------------------------------------------------------------------------------------------------

// Writes "FILE:LINE: TEXT" on standard error, the program's name where there is no file. No character of a file's
// names reaches a terminal as a control character.
void report(std::string_view file, unsigned long long line, std::string_view text);

// Writes "ryl-obj: TEXT" and ends the process with status UNUSABLE.
[[noreturn, gnu::format(printf, 1, 2)]] void refuse(const char* format, ...);

// A text of the model library's without the name of its function in front.
std::string_view withoutFunction(std::string_view text);

// The text with its control characters written as \xNN.
std::string printable(std::string_view text);

// Shows on a terminal how far the program is with `task`, from 0 to 1 or UNKNOWN, if it has worked for more
// than a second. Messages and hideProgress take that away.
constexpr float UNKNOWN = -1;
void showProgress(const char* task, float done);
void hideProgress();

// ---- Models -------------------------------------------------------------------------------------------------------

struct ReleaseModel {
    void operator()(GLMmodel* model) const { glmFree(model); }
};
struct ReleaseExtras {
    void operator()(GLMextras* extras) const { glmFreeExtras(extras); }
};

struct Model {
    std::unique_ptr<GLMmodel, ReleaseModel> model;
    std::unique_ptr<GLMextras, ReleaseExtras> extras;
};

// What a name of a file is in messages: "-" is "standard input".
const char* nameOf(const char* path);

// Reads the model at `path`, "-" for standard input, with its extras; false when it cannot be used. Progress is
// shown. Reports warnings, unless options.warn takes them, and the error, unless `error` does. `text` (or null)
// takes all that was read.
bool readModel(const char* path, Model& model, GLMoptions options = {}, GLMerror* error = nullptr,
               std::string* text = nullptr);

// Reads a file, "-" for standard input, from its start to its end. False with errno set when it cannot be read.
bool readText(const char* path, std::string& text);

// The file that a model's library names, as it can be opened: beside the model, with "/" for "\\" where that finds
// it.
std::optional<std::string> findLibrary(const GLMmodel& model, std::string_view name);

// The image file that a material of the model names, looked for beside the model and beside its libraries.
std::optional<std::string> findTexture(const Model& model, std::string_view path);

// The number as a double whose shortest decimal form is that of the float.
double shortest(float number);

// ---- Files that are written ---------------------------------------------------------------------------------------

// A new folder for files until they are whole; it goes with the record, and on signals that end the program. One at a
// time.
class WorkFolder {
public:
    // Beside `target`; among the temporary files where that is a device or "-", standard output. Ends the process if
    // there can be none.
    explicit WorkFolder(const char* target);
    ~WorkFolder();
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    // Where to write the file that becomes `target`: a path in the folder that ends with the name of `target`.
    std::string pathFor(const std::string& target);
    // Moves that file to `target`, or copies it there if that is a device or "-". A regular file that is there is
    // replaced if `replace` says so, with its permissions kept. False after a message.
    bool publish(const std::string& target, bool replace);

private:
    std::string folder;
    std::vector<std::string> names;
};

// Whether `target` may be written: it is not there, or `replace` says so, or it is "-" or a device. False after a
// message.
bool mayWrite(const char* target, bool replace);
