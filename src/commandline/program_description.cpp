#include "program_description.h"

#include <cstring>

namespace brightloom::commandline {

const CommandDescription* findCommand(const ProgramDescription& program, const char* name)
{
    for (const CommandDescription& command : program.commands) {
        if (std::strcmp(command.name, name) == 0)
            return &command;
    }
    return nullptr;
}

const Option* findOption(const CommandDescription& command, const char* name)
{
    for (const Option& option : command.options) {
        if (std::strcmp(option.name, name) == 0)
            return &option;
    }
    return nullptr;
}

} // namespace brightloom::commandline
