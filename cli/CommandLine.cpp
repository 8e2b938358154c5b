#include "cli/CommandLine.h"

#include "base/Quotation.h"
#include "base/Text.h"
#include "cli/CommandTree.h"
#include "cli/Completion.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace corvane::cli {

namespace {

constexpr const char *version = "corvanectl " CORVANE_VERSION;
/// The longest `--for`, in seconds: a day and a night of a festival, well inside what a timer takes.
constexpr double longestDuration = 1'000'000;

/// What the options are read into before they are put together.
struct Values {
    std::string rehearsal, file, host, port, saveTo, session, folder, name;
    std::string copyNumber, copyTime;
    std::string events;
    std::optional<double> seconds;
    bool allowEmpty = false, discardRecordings = false;
    std::string shell;
    bool withNames = false;
    bool json = false, launch = false, confirm = false;
    std::string format;
    std::string markerStyle;
};

/// An empty text would otherwise pass for an option that was not given.
CLI::Validator notEmpty() {
    return {[](const std::string &text) { return std::string(text.empty() ? "is empty" : ""); }, ""};
}

/// Digits alone. Left to the library, a zero in front would make them octal.
CLI::Validator port() {
    return {[](const std::string &text) {
                return portNumber(text) ? std::string() : "is not a port from 0 to 65535: " + text;
            },
            ""};
}

CLI::Validator wholeNumber() {
    return {[](const std::string &text) {
                return unsignedInteger(text) ? std::string() : "is not a number: " + text;
            },
            ""};
}

/// A number of seconds that a timer takes.
CLI::Validator duration() {
    return {[](const std::string &text) {
                char *end = nullptr;
                const double seconds = std::strtod(text.c_str(), &end);
                const bool isNumber = !text.empty() && end == text.c_str() + text.size();
                const bool fits =
                    isNumber && std::isfinite(seconds) && seconds >= 0 && seconds <= longestDuration;
                return fits ? std::string() : "is not a number of seconds: " + text;
            },
            ""};
}

/// What speaks against a word that is not one of a few; empty when it is.
std::string notAmong(const std::vector<std::string> &words, const std::string &text) {
    std::string list;
    for (const std::string &word : words) {
        if (word == text)
            return {};
        list += (list.empty() ? "" : ", ") + word;
    }
    return text + " is not one of " + list;
}

/// One of a few words.
CLI::Validator oneOf(const std::vector<std::string> &words) {
    return {[words](const std::string &text) { return notAmong(words, text); }, ""};
}

std::set<std::string> wordsOf(const std::string &list) {
    std::set<std::string> words;
    std::size_t end = 0;
    for (std::size_t start = 0; end != std::string::npos; start = end + 1) {
        end = list.find(',', start);
        words.insert(list.substr(start, end - start));
    }
    return words;
}

/// Some of a few words, with commas between them.
CLI::Validator listOf(const std::vector<std::string> &words) {
    return {[words](const std::string &list) {
                std::string problem;
                for (const std::string &word : wordsOf(list))
                    problem = problem.empty() ? notAmong(words, word) : problem;
                return problem;
            },
            ""};
}

Format formatOf(const std::string &word) {
    static const std::map<std::string, Format> formats{
        {"json", Format::json}, {"csv", Format::csv}, {"labels", Format::labels}};
    const auto found = formats.find(word);
    return found == formats.end() ? Format::table : found->second;
}

class Parser {
public:
    Parser();
    CommandTree tree() const;
    std::variant<Options, Ending> parse(const std::vector<std::string> &arguments,
                                        const std::filesystem::path &currentFolder);

private:
    CLI::App *add(Verb verb, const char *name, const char *description);
    void addJson(CLI::App *command);
    CLI::Option *addWord(CLI::App *command, const char *name, std::string &value, const char *description,
                         const std::vector<std::string> &words);
    void addFormat(CLI::App *command, const char *description, const std::vector<std::string> &formats);
    void addHost(CLI::App *command);
    void addSource(CLI::App *command);
    void addDuration(CLI::App *command, const char *description);
    void addLaunch(CLI::App *command);
    void addSession(CLI::App *command, bool required);
    void addConfirm(CLI::App *command);
    void addListening();
    void addSupport();
    void addSessions();
    void addHistory();
    void addRecorder();
    Options options(const std::filesystem::path &currentFolder) const;
    std::string problem(const std::vector<std::string> &arguments, const CLI::ParseError &error) const;

    CLI::App app{"Links a Waves eMotion LV1 console with the LiveTrax recorder.", "corvanectl"};
    std::map<CLI::App *, Verb> verbs;
    /// The words that an option takes, where they are few.
    std::map<const CLI::Option *, std::vector<std::string>> words;
    Values values;
};

Parser::Parser() {
    app.require_subcommand(1);
    app.set_version_flag("--version", version);
    app.footer("Exit status: 0 done, 1 refused or failed, 2 wrong usage, 3 no answer, 130 interrupted.");
    addListening();
    addSessions();
    addHistory();
    addRecorder();
    addSupport();
}

CLI::App *Parser::add(Verb verb, const char *name, const char *description) {
    CLI::App *command = app.add_subcommand(name, description);
    command
        ->add_option("--rehearse", values.rehearsal,
                     "Work in FOLDER instead of the real world; FOLDER/home is the home")
        ->type_name("FOLDER")
        ->check(notEmpty());
    verbs[command] = verb;
    return command;
}

void Parser::addJson(CLI::App *command) {
    command->add_flag("--json", values.json, "Print one JSON document");
}

CLI::Option *Parser::addWord(CLI::App *command, const char *name, std::string &value, const char *description,
                             const std::vector<std::string> &allowed) {
    auto *option = command->add_option(name, value, description)->check(oneOf(allowed));
    words[option] = allowed;
    return option;
}

void Parser::addFormat(CLI::App *command, const char *description, const std::vector<std::string> &formats) {
    addWord(command, "--format", values.format, description, formats)->type_name("FORMAT");
    addJson(command);
    command->get_option("--json")->excludes("--format");
}

void Parser::addHost(CLI::App *command) {
    auto *host = command->add_option("--host", values.host, "The LV1 host's address; else the sole one heard")
                     ->type_name("HOST")
                     ->check(notEmpty());
    auto *itsPort = command->add_option("--port", values.port, "Its port")->type_name("PORT")->check(port());
    host->needs(itsPort);
    itsPort->needs(host);
}

void Parser::addSource(CLI::App *command) {
    addHost(command);
    command->add_option("--from", values.file, "Take the channels from a patch file")
        ->type_name("FILE")
        ->check(notEmpty())
        ->excludes("--host");
}

void Parser::addDuration(CLI::App *command, const char *description) {
    command->add_option("--for", values.seconds, description)->type_name("SECONDS")->check(duration());
}

void Parser::addLaunch(CLI::App *command) {
    command->add_flag("--launch", values.launch, "Start LiveTrax on the session");
}

void Parser::addSession(CLI::App *command, bool required) {
    auto *session = command->add_option("session", values.session, "The session's folder");
    session->type_name("SESSION")->required(required)->check(notEmpty());
}

void Parser::addConfirm(CLI::App *command) {
    command->add_flag("--confirm", values.confirm, "Ask LiveTrax first; send nothing unless it answers");
}

void Parser::addListening() {
    auto *hosts = add(Verb::hosts, "hosts", "List the LV1 hosts that announce themselves");
    addJson(hosts);
    addDuration(hosts, "How long to listen (3)");

    auto *patch = add(Verb::patch, "patch", "Print the console's patch");
    addHost(patch);
    addDuration(patch, "How long to wait for it (10)");
    patch->add_option("--save", values.saveTo, "Keep it as a patch file as well")
        ->type_name("FILE")
        ->check(notEmpty());
    addFormat(patch, "table, json or csv", {"table", "json", "csv"});

    auto *watch = add(Verb::watch, "watch", "Print what the console says, one JSON object a line");
    addHost(watch);
    addDuration(watch, "How long to watch; else until interrupted");
    const std::vector<std::string> events{"status", "connection", "patch",   "channels",
                                          "scene",  "endpoints",  "services"};
    words[watch->add_option("--events", values.events, "Print these alone, separated by commas")
              ->type_name("NAME,...")
              ->check(listOf(events))] = events;
    addJson(watch);

    auto *scenes = add(Verb::scenes, "scenes", "List the scenes that the console recalls, with their times");
    addHost(scenes);
    addDuration(scenes, "How long to listen; else until interrupted");
    scenes->add_option("--save", values.saveTo, "Write the list to a file as well, comma-separated")
        ->type_name("FILE")
        ->check(notEmpty());
    addJson(scenes);
}

void Parser::addSessions() {
    auto *create =
        add(Verb::create, "create", "Make the template of a new session from the console's channels");
    create->add_option("name", values.name, "The session's name")->type_name("NAME")->required();
    create
        ->add_option("--in", values.folder,
                     "The folder that the session goes into; in a rehearsal too it is meant as it stands")
        ->type_name("FOLDER")
        ->required()
        ->check(notEmpty());
    addSource(create);
    addLaunch(create);
    addJson(create);

    auto *sync = add(Verb::sync, "sync", "Bring a session into line with the console's channels");
    addSession(sync, true);
    addSource(sync);
    addLaunch(sync);
    sync->add_flag("--allow-empty", values.allowEmpty, "Take out every track when there are no channels");
    addJson(sync);

    auto *plan = add(Verb::plan, "plan", "Show what sync would do, and touch nothing");
    addSession(plan, true);
    addSource(plan);
    addJson(plan);

    auto *signature =
        add(Verb::signature, "signature", "Print the patch signature of a session or a patch file");
    addSession(signature, false);
    signature->add_option("--from", values.file, "A patch file")
        ->type_name("FILE")
        ->check(notEmpty())
        ->excludes("session");
    addJson(signature);
}

void Parser::addHistory() {
    auto *history = add(Verb::history, "history", "List the copies kept before a session was changed");
    addSession(history, true);
    addJson(history);

    auto *restore = add(Verb::restore, "restore", "Put such a copy of a session back");
    addSession(restore, true);
    restore->add_option("--number", values.copyNumber, "Which copy, as history counts them (1, the newest)")
        ->type_name("N")
        ->check(wholeNumber());
    restore->add_option("--at", values.copyTime, "The copy of that time, as history writes it")
        ->type_name("TIME")
        ->check(notEmpty())
        ->excludes("--number");
    restore->add_flag("--discard-recordings", values.discardRecordings,
                      "Even if recordings were made since then");
    addJson(restore);
}

void Parser::addRecorder() {
    addJson(add(Verb::transport, "transport", "Ask LiveTrax what its transport does"));
    auto *save = add(Verb::save, "save", "Have LiveTrax save its session");
    addConfirm(save);
    addJson(save);
    auto *marker = add(Verb::marker, "marker", "Drop a marker at LiveTrax's playhead");
    marker->add_option("name", values.name, "The marker's name")->type_name("NAME")->required();
    addWord(marker, "--style", values.markerStyle, "classic or named, else what CORVANE_MARKERS says",
            {classicMarkers, namedMarkers})
        ->type_name("STYLE");
    addConfirm(marker);
    addJson(marker);

    auto *markers = add(Verb::markers, "markers", "List the markers of a session");
    addSession(markers, true);
    addFormat(markers, "table, csv, json, or labels: start, end and name, which audio editors import",
              {"table", "csv", "json", "labels"});
}

void Parser::addSupport() {
    auto *check = add(Verb::check, "check", "Go through the list before a show");
    addSession(check, false);
    check->add_option("--in", values.folder, "The folder that sessions are to go into")
        ->type_name("FOLDER")
        ->check(notEmpty());
    addHost(check);
    addDuration(check, "How long to wait for the console (10)");
    addJson(check);

    auto *diagnose =
        add(Verb::diagnose, "diagnose", "Gather what support asks for; nothing is sent anywhere");
    addHost(diagnose);
    addDuration(diagnose, "How long to listen for consoles (3)");
    diagnose->add_option("--save", values.saveTo, "Write it to a file instead")
        ->type_name("FILE")
        ->check(notEmpty());
    diagnose->add_flag("--names", values.withNames, "With names of channels, scenes, sessions and the home");
    addJson(diagnose);

    auto *completion = add(Verb::completion, "completion", "Print what a shell completes this program with");
    addWord(completion, "shell", values.shell, "bash or fish", shells())->type_name("SHELL")->required();
}

Options Parser::options(const std::filesystem::path &currentFolder) const {
    const auto path = [&](const std::string &text) -> std::optional<std::filesystem::path> {
        if (text.empty())
            return std::nullopt;
        return absolutePath(text, currentFolder);
    };
    Options options;
    options.verb = verbs.at(app.get_subcommands().front());
    options.rehearsal = path(values.rehearsal);
    options.json = values.json;
    options.source.file = path(values.file);
    if (!values.host.empty())
        options.source.host = values.host;
    options.source.port = portNumber(values.port).value_or(0);
    if (values.seconds)
        options.duration = std::chrono::milliseconds(std::llround(*values.seconds * 1000));
    options.format = values.json ? Format::json : formatOf(values.format);
    if (!values.events.empty())
        options.events = wordsOf(values.events);
    options.saveTo = path(values.saveTo);
    options.launch = values.launch;
    options.allowEmpty = values.allowEmpty;
    options.copyNumber = unsignedInteger(values.copyNumber);
    if (!values.copyTime.empty())
        options.copyTime = values.copyTime;
    options.discardRecordings = values.discardRecordings;
    options.confirm = values.confirm;
    options.withNames = values.withNames;
    options.shell = values.shell;
    if (options.verb == Verb::marker)
        options.markerStyle = chosenMarkerStyle(values.markerStyle);
    options.name = trimmed(values.name);
    options.session = path(values.session);
    options.folder = path(values.folder).value_or(std::filesystem::path());
    return options;
}

/// Checks what the option parser cannot. Throws CommandFailure.
void checkSense(const Options &options) {
    const auto fail = [](const char *message) { throw CommandFailure(status::wrongUsage, message); };
    if (options.verb == Verb::create && options.name.empty())
        fail("A session needs a name.");
    if (options.verb == Verb::marker && options.name.empty())
        fail("A marker needs a name.");
    if (options.verb == Verb::signature && !options.session && !options.source.file)
        fail("A session's folder or --from FILE is needed.");
}

/// The library only says that a command is missing where a word stands in its place.
std::string Parser::problem(const std::vector<std::string> &arguments, const CLI::ParseError &error) const {
    const bool isCommand =
        arguments.empty() || std::any_of(verbs.begin(), verbs.end(), [&](const auto &verb) {
            return verb.first->get_name() == arguments.front();
        });
    if (isCommand || arguments.front().starts_with("-"))
        return error.what();
    return quotation(arguments.front()) + " is no command of corvanectl; --help lists them.";
}

CommandTree Parser::tree() const {
    CommandTree tree;
    for (const CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; })) {
        tree.push_back({command->get_name(), command->get_description(), {}});
        for (const CLI::Option *option : command->get_options()) {
            const auto choice = words.find(option);
            const bool isFlag = option->get_items_expected_max() == 0;
            tree.back().options.push_back(
                {option->get_name(), isFlag ? "" : option->get_type_name(), option->get_description(),
                 choice == words.end() ? std::vector<std::string>() : choice->second});
        }
    }
    return tree;
}

std::variant<Options, Ending> Parser::parse(const std::vector<std::string> &arguments,
                                            const std::filesystem::path &currentFolder) {
    try {
        // The library takes them from the back.
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
        auto read = options(currentFolder);
        checkSense(read);
        return read;
    } catch (const CLI::CallForHelp &) {
        return Ending{app.help(), {}};
    } catch (const CLI::CallForVersion &) {
        return Ending{std::string(version) + "\n", {}};
    } catch (const CLI::ParseError &error) {
        return Ending{{}, {status::wrongUsage, problem(arguments, error)}};
    } catch (const CommandFailure &failure) {
        return Ending{{}, {failure.status, failure.what()}};
    }
}

} // namespace

std::variant<Options, Ending> parseCommandLine(const std::vector<std::string> &arguments,
                                               const std::filesystem::path &currentFolder) {
    return Parser().parse(arguments, currentFolder);
}

CommandTree commandTree() {
    return Parser().tree();
}

std::filesystem::path absolutePath(const std::filesystem::path &typed,
                                   const std::filesystem::path &currentFolder) {
    std::filesystem::path whole = currentFolder / typed;
    const bool goesUp = std::find(whole.begin(), whole.end(), "..") != whole.end();
    if (goesUp) {
        // What lies above a linked folder is known to the file system alone.
        std::error_code ignored;
        const auto resolved = std::filesystem::weakly_canonical(whole, ignored);
        if (!ignored)
            whole = resolved;
    }
    whole = whole.lexically_normal();
    return whole.has_filename() ? whole : whole.parent_path();
}

} // namespace corvane::cli
