#pragma once

// The programs' command lines, described once. The parser, the help texts, the manual pages and
// the shell completions are all made from these descriptions, so none of them can drift apart.

#include <vector>

namespace brightloom::commandline {

// What completes a word on the shell: nothing, one of a fixed set, or what the service knows.
enum class Completion { none, choices, command, projectId, gallerySlug, file };

// A word without a dash, in its place.
struct Positional
{
    const char* name;              // as usage shows it: "PROJECT"
    const char* help;              // one sentence
    bool optional = false;         // later positionals are optional too
    const char* choices = nullptr; // space-separated: the only words accepted here
    Completion completion = Completion::none;
};

// "--name", taking a value when `value` names it.
struct Option
{
    const char* name;
    const char* value; // "SECONDS"; nullptr for a switch
    const char* help;
    Completion completion = Completion::none;
};

struct Example
{
    const char* command; // after the program's name
    const char* says;    // what it does
};

struct CommandDescription
{
    const char* name;
    const char* usage;       // after the program's name; a line feed separates alternative forms
    const char* summary;     // one line, for the command list
    const char* description; // what it does, in full
    std::vector<Positional> positionals;
    std::vector<Option> options;
    std::vector<Example> examples;
    const char* exitStatus = nullptr; // what its statuses mean, beyond the common ones
    bool needsSession = false;
};

struct EnvironmentVariable
{
    const char* name;
    const char* help;
};

struct FileEntry
{
    const char* path;
    const char* help;
};

// A program: its own arguments (the window's), or the commands it runs (the command line's).
struct ProgramDescription
{
    const char* name;
    const char* section; // the manual's title line: the program's one-line purpose
    const char* description;
    CommandDescription own;                   // the program's own usage, positionals and options
    std::vector<CommandDescription> commands; // empty for a program without commands
    std::vector<EnvironmentVariable> environment;
    std::vector<FileEntry> files;
    const char* exitStatus;
    const char* seeAlso;
};

// The command line, brightloom-cli.
const ProgramDescription& cliProgram();
// The window program, brightloom.
const ProgramDescription& windowProgram();

// The command of the command line named `name`, or nullptr.
const CommandDescription* findCommand(const ProgramDescription& program, const char* name);
// The option of `command` named `name`, or nullptr.
const Option* findOption(const CommandDescription& command, const char* name);

} // namespace brightloom::commandline
