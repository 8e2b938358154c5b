#include "platform/bonjour/DNSServiceThread.h"

#include "platform/bonjour/DNSServiceDaemonWatch.h"
#include "platform/net/LocalNames.h"
#include "platform/net/Sockets.h"

#include <dns_sd.h>

#include <arpa/inet.h>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <poll.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace corvane {

namespace {

constexpr std::chrono::seconds farewellTimeout{1};

/// Who asked. Belongs to the main queue; the thread only passes on weak references to it.
struct Asker {
    DNSServiceQueries::BrowseHandler browseHandler;
    DNSServiceQueries::ResolveHandler resolveHandler;
    std::function<void()> daemonHandler;
};

} // namespace

/// The thread and what it shares. Held by the thread as well, so that it may be left behind.
class DNSServiceThread::Worker : public std::enable_shared_from_this<Worker> {
public:
    explicit Worker(SerialQueue &main) : main(&main) {}
    ~Worker();

    /// What is asked of the daemon, on the thread: opens the reference or says why not.
    using Opening = std::function<DNSServiceErrorType(DNSServiceRef *reference, void *context)>;
    /// What its asker is told about that, on the main queue.
    using Outcome = std::function<void(Asker &asker, DNSServiceErrorType error)>;

    unsigned long add(const std::weak_ptr<Asker> &asker, const Opening &opening, const Outcome &outcome);
    unsigned long addWatch(const std::weak_ptr<Asker> &asker);
    void remove(unsigned long number);
    void end();

    static void DNSSD_API didBrowse(DNSServiceRef, DNSServiceFlags flags, uint32_t, DNSServiceErrorType error,
                                    const char *name, const char *, const char *, void *context);
    static void DNSSD_API didResolve(DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType error,
                                     const char *, const char *host, uint16_t port, uint16_t,
                                     const unsigned char *, void *context);

private:
    struct Question {
        Worker &worker;
        std::weak_ptr<Asker> asker;
        Outcome outcome;
        DNSServiceRef reference = nullptr;
        bool isOver = false; ///< nothing more is wanted of the daemon
        /// Instead of a reference, when the daemon is waited for. Goes first: it calls from its own thread.
        std::unique_ptr<DNSServiceDaemonWatch> watch = nullptr;
    };

    bool perform(Task command);
    bool start();
    void enqueue(Task command);
    void run();
    bool runCommands();
    void open(unsigned long number, std::weak_ptr<Asker> asker, const Opening &opening, Outcome outcome);
    void watch(unsigned long number, std::weak_ptr<Asker> asker);
    void close(unsigned long number);
    void awaitAnswers();
    void readAnswers(Question &question);
    void tell(std::weak_ptr<Asker> asker, std::function<void(Asker &)> news);
    static void fail(Question &question, DNSServiceErrorType error);

    std::mutex mutex;
    std::condition_variable ended;
    SerialQueue *main;            ///< guarded; none once nobody listens any more
    std::deque<Task> commands;    ///< guarded
    bool isRunning = false;       ///< guarded
    bool isEnding = false;        ///< guarded
    int wake[2] = {-1, -1};       ///< a pipe; made before the thread is started
    unsigned long lastNumber = 0; ///< the main queue's
    std::map<unsigned long, std::unique_ptr<Question>> questions; ///< the thread's
};

DNSServiceThread::Worker::~Worker() {
    if (wake[0] >= 0)
        ::close(wake[0]);
    if (wake[1] >= 0)
        ::close(wake[1]);
}

unsigned long DNSServiceThread::Worker::add(const std::weak_ptr<Asker> &asker, const Opening &opening,
                                            const Outcome &outcome) {
    const auto number = ++lastNumber;
    const bool taken =
        perform([this, number, asker, opening, outcome] { open(number, asker, opening, outcome); });
    if (!taken)
        tell(asker, [outcome](Asker &listener) { outcome(listener, kDNSServiceErr_NoMemory); });
    return number;
}

unsigned long DNSServiceThread::Worker::addWatch(const std::weak_ptr<Asker> &asker) {
    const auto number = ++lastNumber;
    if (!perform([this, number, asker] { watch(number, asker); }))
        tell(asker, [](Asker &listener) { listener.daemonHandler(); });
    return number;
}

void DNSServiceThread::Worker::remove(unsigned long number) {
    const std::lock_guard lock(mutex);
    if (isRunning) // else nothing has been opened
        enqueue([this, number] { close(number); });
}

void DNSServiceThread::Worker::end() {
    std::unique_lock lock(mutex);
    main = nullptr;
    isEnding = true;
    if (!isRunning)
        return;
    [[maybe_unused]] const auto woken = ::write(wake[1], "", 1);
    ended.wait_for(lock, farewellTimeout, [this] { return !isRunning; });
}

/// False when there is no thread to perform it, and none can be started now.
bool DNSServiceThread::Worker::perform(Task command) {
    const std::lock_guard lock(mutex);
    if (!isEnding && !isRunning && !start())
        return false;
    enqueue(std::move(command));
    return true;
}

/// Called with the mutex held, as `enqueue` is.
bool DNSServiceThread::Worker::start() {
    if (wake[0] < 0 && ::pipe(wake) != 0)
        return false;
    for (const int end : wake) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
        ::fcntl(end, F_SETFL, O_NONBLOCK);
    }
    try {
        std::thread([self = shared_from_this()] { self->run(); }).detach();
        isRunning = true;
    } catch (const std::system_error &) { // the system gives no more threads
    }
    return isRunning;
}

void DNSServiceThread::Worker::enqueue(Task command) {
    commands.push_back(std::move(command));
    [[maybe_unused]] const auto woken = ::write(wake[1], "", 1);
}

void DNSServiceThread::Worker::run() {
    while (runCommands())
        awaitAnswers();
    for (const auto &[number, question] : questions)
        if (question->reference)
            ::DNSServiceRefDeallocate(question->reference);
    questions.clear();
    const std::lock_guard lock(mutex);
    isRunning = false;
    ended.notify_all();
}

/// False when the end has come.
bool DNSServiceThread::Worker::runCommands() {
    for (;;) {
        Task command;
        {
            const std::lock_guard lock(mutex);
            if (isEnding)
                return false;
            if (commands.empty())
                return true;
            command = std::move(commands.front());
            commands.pop_front();
        }
        command();
    }
}

void DNSServiceThread::Worker::open(unsigned long number, std::weak_ptr<Asker> asker, const Opening &opening,
                                    Outcome outcome) {
    auto question = std::make_unique<Question>(Question{*this, std::move(asker), std::move(outcome)});
    const auto error = opening(&question->reference, question.get());
    closeEverythingOnExec(); // Avahi's library does not see to that
    if (error == kDNSServiceErr_NoError) {
        tell(question->asker, [started = question->outcome](Asker &listener) { started(listener, 0); });
    } else {
        question->reference = nullptr;
        fail(*question, error);
    }
    questions.emplace(number, std::move(question));
}

void DNSServiceThread::Worker::watch(unsigned long number, std::weak_ptr<Asker> asker) {
    auto question = std::make_unique<Question>(Question{*this, std::move(asker), {}});
    const auto appeared = [question = question.get()] {
        question->worker.tell(question->asker, [](Asker &listener) { listener.daemonHandler(); });
    };
    question->watch = watchForDNSServiceDaemon(appeared);
    closeEverythingOnExec();
    if (!question->watch)
        appeared();
    questions.emplace(number, std::move(question));
}

void DNSServiceThread::Worker::close(unsigned long number) {
    const auto found = questions.find(number);
    if (found == questions.end())
        return;
    if (found->second->reference)
        ::DNSServiceRefDeallocate(found->second->reference);
    questions.erase(found);
}

/// Waits for a command or for the daemon, and handles what the daemon has sent.
void DNSServiceThread::Worker::awaitAnswers() {
    std::vector<pollfd> wanted{{wake[0], POLLIN, 0}};
    std::vector<Question *> asked;
    for (const auto &[number, question] : questions) {
        if (!question->reference)
            continue;
        wanted.push_back({::DNSServiceRefSockFD(question->reference), POLLIN, 0});
        asked.push_back(question.get());
    }
    if (::poll(wanted.data(), static_cast<nfds_t>(wanted.size()), -1) <= 0)
        return;
    char ignored[64];
    while (::read(wake[0], ignored, sizeof ignored) > 0) {
    }
    for (std::size_t i = 0; i < asked.size(); ++i)
        if (wanted[i + 1].revents != 0)
            readAnswers(*asked[i]);
}

void DNSServiceThread::Worker::readAnswers(Question &question) {
    const auto error = ::DNSServiceProcessResult(question.reference);
    if (error != kDNSServiceErr_NoError)
        fail(question, error);
    if (!question.isOver)
        return;
    // Each reference costs a thread and descriptors, and a dead one would be readable for ever.
    ::DNSServiceRefDeallocate(question.reference);
    question.reference = nullptr;
}

void DNSServiceThread::Worker::tell(std::weak_ptr<Asker> asker, std::function<void(Asker &)> news) {
    const std::lock_guard lock(mutex);
    if (!main)
        return;
    main->post([asker = std::move(asker), news = std::move(news)] {
        if (const auto listener = asker.lock())
            news(*listener);
    });
}

void DNSServiceThread::Worker::fail(Question &question, DNSServiceErrorType error) {
    if (question.isOver)
        return;
    question.isOver = true;
    question.worker.tell(question.asker,
                         [failed = question.outcome, error](Asker &asker) { failed(asker, error); });
}

void DNSServiceThread::Worker::didBrowse(DNSServiceRef, DNSServiceFlags flags, uint32_t,
                                         DNSServiceErrorType error, const char *name, const char *,
                                         const char *, void *context) {
    auto &question = *static_cast<Question *>(context);
    // When the daemon dies, the texts are null.
    if (error != kDNSServiceErr_NoError || name == nullptr)
        return fail(question, error != kDNSServiceErr_NoError ? error : kDNSServiceErr_Unknown);
    const auto kind =
        (flags & kDNSServiceFlagsAdd) != 0 ? DNSServiceEvent::Kind::added : DNSServiceEvent::Kind::removed;
    question.worker.tell(question.asker, [kind, name = std::string(name)](Asker &asker) {
        asker.browseHandler({kind, name, 0});
    });
}

void DNSServiceThread::Worker::didResolve(DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType error,
                                          const char *, const char *host, uint16_t port, uint16_t,
                                          const unsigned char *, void *context) {
    auto &question = *static_cast<Question *>(context);
    if (error != kDNSServiceErr_NoError || host == nullptr)
        return fail(question, error != kDNSServiceErr_NoError ? error : kDNSServiceErr_Unknown);
    if (std::exchange(question.isOver, true))
        return;
    const DNSServiceAddress address{host, ntohs(port)};
    question.worker.tell(question.asker, [address](Asker &asker) { asker.resolveHandler(address); });
}

/// Holds the handler as long as its asker wants it called.
class DNSServiceThread::Query final : public DNSServiceQuery {
public:
    Query(std::shared_ptr<Worker> worker, std::shared_ptr<Asker> asker, unsigned long number)
        : worker(std::move(worker)), asker(std::move(asker)), number(number) {}
    ~Query() override { worker->remove(number); }

private:
    std::shared_ptr<Worker> worker;
    std::shared_ptr<Asker> asker;
    unsigned long number;
};

DNSServiceThread::DNSServiceThread(SerialQueue &main) : worker(std::make_shared<Worker>(main)) {
    quietDNSServiceLibrary();
}

DNSServiceThread::~DNSServiceThread() {
    worker->end();
}

std::unique_ptr<DNSServiceQuery> DNSServiceThread::browse(const std::string &type, const std::string &domain,
                                                          BrowseHandler handler) {
    const auto asker = std::make_shared<Asker>(Asker{std::move(handler), {}, {}});
    const auto number = worker->add(
        asker,
        [type, domain](DNSServiceRef *reference, void *context) {
            return ::DNSServiceBrowse(reference, 0, kDNSServiceInterfaceIndexAny, type.c_str(),
                                      domain.c_str(), &Worker::didBrowse, context);
        },
        [](Asker &listener, DNSServiceErrorType error) {
            using Kind = DNSServiceEvent::Kind;
            listener.browseHandler(
                {error == kDNSServiceErr_NoError ? Kind::started : Kind::failed, {}, error});
        });
    return std::make_unique<Query>(worker, asker, number);
}

std::unique_ptr<DNSServiceQuery> DNSServiceThread::resolve(const std::string &name, const std::string &type,
                                                           const std::string &domain,
                                                           ResolveHandler handler) {
    const auto asker = std::make_shared<Asker>(Asker{{}, std::move(handler), {}});
    const auto number = worker->add(
        asker,
        [name, type, domain](DNSServiceRef *reference, void *context) {
            return ::DNSServiceResolve(reference, 0, kDNSServiceInterfaceIndexAny, name.c_str(), type.c_str(),
                                       domain.c_str(), &Worker::didResolve, context);
        },
        [](Asker &listener, DNSServiceErrorType error) {
            if (error != kDNSServiceErr_NoError)
                listener.resolveHandler(std::nullopt);
        });
    return std::make_unique<Query>(worker, asker, number);
}

std::unique_ptr<DNSServiceQuery> DNSServiceThread::awaitDaemon(std::function<void()> handler) {
    const auto asker = std::make_shared<Asker>(Asker{{}, {}, std::move(handler)});
    return std::make_unique<Query>(worker, asker, worker->addWatch(asker));
}

} // namespace corvane
