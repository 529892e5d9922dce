// brightloom-cli's commands: everything its help, manual page and completions say comes from here.

#include "program_description.h"

namespace brightloom::commandline {
namespace {

const Option json{"json", nullptr, "Print the service's record as JSON, exactly as it came."};
const Option interval{"interval", "SECONDS",
                      "Check every SECONDS seconds instead of the window's own rhythm (decimals allowed)."};
const Positional project{"PROJECT", "The project's id.", false, nullptr, Completion::projectId};
const Option passwordStdin{"password-stdin", nullptr,
                           "Read the password from the first line of standard input."};
const Option password{"password", "PASSWORD",
                      "The password. An argument is visible to other users of this machine (ps) and "
                      "stays in the shell's history: prefer --password-stdin, or the prompt."};

std::vector<CommandDescription> commands()
{
    return {
        {"login",
         "login --email EMAIL [--password PASSWORD | --password-stdin]\nlogin --browser",
         "Sign in with an email and a password, or in the browser.",
         "Signs in and keeps the session for every later command and for the window. Without "
         "--password or --password-stdin, the password is asked for on the terminal, without echo. "
         "With --browser, the sign-in page's address is printed and, on a desktop, opened in the "
         "browser; the sign-in completes when the browser hands its brightloom://callback address to "
         "the desktop, or when that address is pasted on standard input.",
         {},
         {{"email", "EMAIL", "The account's email address."},
          password,
          passwordStdin,
          {"browser", nullptr, "Sign in on the service's page in the browser."}},
         {{"login --email ada@example.com", "Asks for the password on the terminal."},
          {"login --email ada@example.com --password-stdin < password.txt",
           "Signs in with the password on the file's first line."},
          {"login --browser", "Signs in through the browser."}}},
        {"signup",
         "signup --name NAME --email EMAIL [--password PASSWORD | --password-stdin]",
         "Create an account and sign in.",
         "Creates an account on the service and signs in to it. The password is taken as by login.",
         {},
         {{"name", "NAME", "The name shown on the account."},
          {"email", "EMAIL", "The account's email address."},
          password,
          passwordStdin},
         {{"signup --name Ada --email ada@example.com", "Asks for the password on the terminal."}}},
        {"logout",
         "logout",
         "Sign out.",
         "Ends the session, here and in the window.",
         {},
         {},
         {{"logout", "Signs out."}}},
        {"session",
         "session",
         "Tell whether a session is signed in.",
         "Asks the service whether the kept session is still signed in, and prints \"signed in\" or "
         "\"signed out\".",
         {},
         {},
         {{"session && echo ready", "Runs the second command only when signed in."}},
         "0 when signed in, 1 when signed out."},
        {"projects",
         "projects [--json]",
         "List the projects.",
         "Lists the projects, one per line: the id, a tab, the name, and \"unsafe\" after another tab "
         "when the service marked the project so.",
         {},
         {json},
         {{"projects", "Lists the projects."}},
         nullptr,
         true},
        {"new",
         "new PROMPT [--local | --cloud] [--yes] [--import | --no-import] [--follow [--interval SECONDS]]",
         "Describe an app and start building it.",
         "Creates a project from a plain-language description and prints its id. The two questions the "
         "window asks are answered by options; a question without its option is asked on the terminal.",
         {{"PROMPT", "What the app should be and do, in plain words."}},
         {{"local", nullptr, "Compile and sign the app on this machine, this time."},
          {"cloud", nullptr, "Build the app in the cloud, this time."},
          {"yes", nullptr, "Answer yes when asked whether to compile on this machine."},
          {"import", nullptr, "Import the GitHub repository the description names, and build it."},
          {"no-import", nullptr, "Build without importing the GitHub repository the description names."},
          {"follow", nullptr, "Then follow the build to its end, as the follow command does."},
          interval},
         {{"new \"A menu bar timer with three presets\" --cloud --follow",
           "Builds in the cloud and prints the status until the app is ready."}},
         "With --follow, as follow.",
         true},
        {"show",
         "show PROJECT [--json]",
         "Show a project's conversation and jobs.",
         "Prints the project's conversation and its jobs, newest job first.",
         {project},
         {json},
         {{"show 4b1f0c --json", "Prints the project's record."}},
         nullptr,
         true},
        {"send",
         "send PROJECT TEXT [--fix]",
         "Ask for a change to an app.",
         "Sends a message to the project's conversation, which starts a new build.",
         {project, {"TEXT", "The change, in plain words."}},
         {{"fix", nullptr, "Ask for a fix of the last failure rather than a change."}},
         {{"send 4b1f0c \"Make the window translucent\"", "Asks for a change."}},
         nullptr,
         true},
        {"follow",
         "follow PROJECT [--interval SECONDS]",
         "Follow a project's newest job to its end.",
         "Prints the status of the project's newest job as it changes, until it is built or has "
         "failed. A job that hands over its source is built on this machine.",
         {project},
         {interval},
         {{"follow 4b1f0c --interval=5", "Checks every five seconds."}},
         "0 when the newest job was built, 1 when it failed.",
         true},
        {"download",
         "download PROJECT [--dmg | --zip]",
         "Download the newest ready build.",
         "Downloads the newest ready build of the project to the Downloads folder and prints where it "
         "was saved.",
         {project},
         {{"dmg", nullptr, "The disk image (the default when there is one)."},
          {"zip", nullptr, "The zip archive."}},
         {{"download 4b1f0c --zip", "Saves the zip archive."}},
         nullptr,
         true},
        {"library",
         "library [PROJECT [--download JOB]] [--json]",
         "List the apps, or one app's versions.",
         "Without a project, lists the apps of the library. With one, lists its versions and its tree "
         "of versions and forks; with --download, saves that version's build.",
         {{"PROJECT", "The app's project id.", true, nullptr, Completion::projectId}},
         {{"download", "JOB", "Download this version's build (a job id of the app)."}, json},
         {{"library", "Lists the apps."}, {"library 4b1f0c --download 9e2d77", "Saves that version."}},
         nullptr,
         true},
        {"fork",
         "fork JOB",
         "Start a new project from a version.",
         "Starts a new project from a version of an app (a job id) and prints the new project's id.",
         {{"JOB", "The version's job id."}},
         {},
         {{"fork 9e2d77", "Forks that version."}},
         nullptr,
         true},
        {"gallery",
         "gallery [--favorites] [--json]\ngallery use SLUG [--follow [--interval SECONDS]]",
         "List the gallery, or start from one of its apps.",
         "Lists the gallery's apps: the slug, the name, and whether it is starred, a template and a "
         "favorite. \"gallery use SLUG\" starts a new project from that app and prints its id.",
         {{"ACTION", "\"use\" to start a new project from an app.", true, "use"},
          {"SLUG", "The gallery app's slug.", true, nullptr, Completion::gallerySlug}},
         {{"favorites", nullptr, "Only the favorites."},
          json,
          {"follow", nullptr, "After use, follow the build to its end."},
          interval},
         {{"gallery --favorites", "Lists the favorites."},
          {"gallery use pomodoro --follow", "Starts from the template and follows its build."}},
         nullptr,
         true},
        {"favorite",
         "favorite SLUG on|off",
         "Mark or unmark a gallery app as a favorite.",
         "Marks a gallery app as a favorite, or takes the mark away.",
         {{"SLUG", "The gallery app's slug.", false, nullptr, Completion::gallerySlug},
          {"STATE", "\"on\" or \"off\".", false, "on off", Completion::choices}},
         {},
         {{"favorite pomodoro on", "Marks it."}},
         nullptr,
         true},
        {"github",
         "github PROJECT [repos | link REPO | unlink | push] [--json]",
         "Show and change a project's GitHub sync.",
         "Without an action, shows the project's GitHub panel. \"repos\" lists the repositories that can "
         "be linked, \"link\" links one, \"unlink\" removes the link and \"push\" sends the newest "
         "source.",
         {project,
          {"ACTION", "repos, link, unlink or push.", true, "repos link unlink push", Completion::choices},
          {"REPO", "With link: the repository, as OWNER/NAME.", true}},
         {json},
         {{"github 4b1f0c link ada/timer", "Links the repository."},
          {"github 4b1f0c push", "Pushes the newest source."}},
         nullptr,
         true},
        {"worker-status",
         "worker-status [--json]",
         "Tell whether the build machines are delayed.",
         "Prints \"online\" or \"offline\", then \"delayed\" and the reason when builds are slow.",
         {},
         {json},
         {{"worker-status", "Prints the build machines' state."}},
         nullptr,
         true},
        {"build-source",
         "build-source URL --job JOB [--version VERSION]",
         "Build a job's source archive on this machine.",
         "Fetches a job's source archive, checks it, and compiles, signs and saves the app on this "
         "machine, printing where it was saved.",
         {{"URL", "The source archive's address."}},
         {{"job", "JOB", "The job the source belongs to."},
          {"version", "VERSION", "The version to write into the app (default 1.0)."}},
         {{"build-source https://brightloom.app/src/9e2d77.zip --job 9e2d77", "Builds that source."}},
         nullptr,
         true},
        {"help",
         "help [COMMAND]",
         "Show the commands, or one command's help.",
         "Without a command, lists the commands. With one, shows its arguments, options and examples, as "
         "\"COMMAND --help\" does.",
         {{"COMMAND", "A command's name.", true, nullptr, Completion::command}},
         {},
         {{"help new", "Shows how to start an app."}}},
    };
}

} // namespace

const ProgramDescription& cliProgram()
{
    static const ProgramDescription program{
        "brightloom-cli",
        "describe a Mac app and get it built, from the command line",
        "brightloom-cli takes the whole road of the Brightloom desktop client without a window: it "
        "signs in, creates projects from a description, follows each build, downloads the finished "
        "app or builds it on this machine from the service's source, and manages the library, the "
        "gallery and GitHub sync. Its session is the window's.",
        {"brightloom-cli",
         "brightloom-cli COMMAND [ARGUMENTS]\nbrightloom-cli --version",
         "",
         "",
         {},
         {{"version", nullptr, "Print the version and exit."}}},
        commands(),
        {{"BRIGHTLOOM_URL", "The service's base address (https://brightloom.app/ when unset)."},
         {"BRIGHTLOOM_CA_FILE", "A PEM file of certificates to trust besides the system's."},
         {"BRIGHTLOOM_TOOLS_DIR", "A folder holding the developer tools by name, in place of /usr/bin."},
         {"BRIGHTLOOM_SESSION_STORE",
          "\"file\": keep the session in the owner-only file, never in the desktop's secret store."}},
        {{"~/.local/share/Brightloom/cookies",
          "The session, owner-only, when the desktop has no secret store that answers (the Secret Service on "
          "Linux, the Keychain on a Mac); shared with the window."},
         {"~/.config/Brightloom/Brightloom.conf", "The settings and the apps built on this machine."}},
        "0 on success; 1 on a failure, whose text is printed alone on one line of standard error; 2 for "
        "a wrong command line, with the command's usage on standard error.",
        "brightloom(1)"};
    return program;
}

} // namespace brightloom::commandline
