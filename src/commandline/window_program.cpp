// The window program's own command line: its help and manual page come from here.

#include "program_description.h"

namespace brightloom::commandline {
namespace {

// Made apart from the program's description: GCC 14 takes the nested lists of one aggregate for
// possibly uninitialised on its unwinding road.
CommandDescription ownArguments()
{
    return {
        "brightloom",
        "brightloom [ADDRESS]\nbrightloom --help\nbrightloom --version",
        "",
        "",
        {{"ADDRESS", "A brightloom:// address, which the desktop passes when a browser sign-in ends.", true}},
        {{"help", nullptr, "Print this help and exit, without opening a window."},
         {"version", nullptr, "Print the version and exit, without opening a window."}},
        {{"brightloom", "Opens the window, or brings the running one to the front."}}};
}

} // namespace

const ProgramDescription& windowProgram()
{
    static const ProgramDescription program{
        "brightloom",
        "describe a Mac app and get it built",
        "brightloom opens the Brightloom window: sign in, describe an app, follow each build in its "
        "conversation, download the result or have it compiled and signed on this machine, browse the "
        "library of versions and forks, start from the gallery and sync a project to GitHub. One window "
        "runs at a time: a second start brings the running window to the front. The desktop starts the "
        "program with a brightloom://callback address when a sign-in in the browser ends; the program "
        "hands that address to the window or command line waiting for it and exits.",
        ownArguments(),
        {},
        {{"BRIGHTLOOM_URL", "The service's base address (https://brightloom.app/ when unset)."},
         {"BRIGHTLOOM_CA_FILE", "A PEM file of certificates to trust besides the system's."},
         {"BRIGHTLOOM_TOOLS_DIR", "A folder holding the developer tools by name, in place of /usr/bin."},
         {"BRIGHTLOOM_SESSION_STORE",
          "\"file\": keep the session in the owner-only file, never in the desktop's secret store."},
         {"BRIGHTLOOM_APPEARANCE", "\"light\" or \"dark\": the window's palette, whatever the desktop says."},
         {"XDG_RUNTIME_DIR", "Where the socket lives that a second start uses to reach the running window."}},
        {{"~/.local/share/Brightloom/cookies",
          "The session, owner-only, when the desktop has no secret store that answers (the Secret Service on "
          "Linux, the Keychain on a Mac); shared with brightloom-cli."},
         {"~/.config/Brightloom/Brightloom.conf", "The settings and the apps built on this machine."},
         {"~/.cache/Brightloom", "The gallery's icons."}},
        "0 when the window was closed or the address was handed on; 1 when the program could not start.",
        "brightloom-cli(1)"};
    return program;
}

} // namespace brightloom::commandline
