// Small programs of other people on the shared library, by the name of what they do:
//   programs NAME PORT USER PASSWORD FOLDER [FINGERPRINT]
// With the fingerprint of a certificate everything is encrypted. They know the public headers alone, have no
// application object unless their name says so, and end with 0 when all is as it should be.

#include <QCoreApplication>
#include <quillbox/FTPManager.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <future>
#include <map>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

/// How many objects the libraries have had made that are destroyed when the program ends.
std::atomic<int> mortalObjects = 0;

} // namespace

/// Libraries call this one, and it calls the system's.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
extern "C" Q_DECL_EXPORT int __cxa_atexit(void (*destroy)(void*), void* object, void* library)
{
    static const auto original = reinterpret_cast<decltype(&__cxa_atexit)>(::dlsym(RTLD_NEXT, "__cxa_atexit"));
    ++mortalObjects;
    return original(destroy, object, library);
}

namespace {

// Never destroyed: the program may end while threads use them.
auto& theServer = *new std::shared_ptr<FMServer>;
auto& theFolder = *new QString;

/// Every kind of operation, on names that begin with @p name; whether all have worked.
bool works(const QString& name)
{
    FTPManager manager;
    const FMServer* const server = theServer.get();
    const QString file = name + u".txt"_s;
    if (!manager.checkLogin(server) || !manager.uploadData(file.toUtf8(), file, server)
        || !manager.createNewFolder(name, server)) {
        return false;
    }
    const auto entries = manager.contentsOfServer(server);
    if (!entries || entries->size() < 2 || !manager.downloadFile(file, QUrl::fromLocalFile(theFolder), server)) {
        return false;
    }
    const bool hasCome = manager.fileSizeOf(QUrl::fromLocalFile(theFolder + u'/' + file)) == quint64(file.size());
    return hasCome && manager.deleteFileNamed(file, server) && manager.deleteFileNamed(name, server);
}

int plain()
{
    return works(u"plain"_s) ? 0 : 1;
}

int besideAnApplication()
{
    int count = 1;
    char name[] = "programs";
    char* words[] = { name, nullptr };
    const bool before = works(u"before"_s);
    bool meanwhile = false;
    {
        const QCoreApplication application(count, words);
        meanwhile = works(u"meanwhile"_s);
    }
    return before && meanwhile && works(u"afterwards"_s) ? 0 : 1;
}

int inAnotherThreadBesideAnApplication()
{
    int count = 1;
    char name[] = "programs";
    char* words[] = { name, nullptr };
    const QCoreApplication application(count, words);
    bool hasWorked = false;
    std::thread([&hasWorked] { hasWorked = works(u"thread"_s); }).join(); // Nobody runs the application's loop.
    return hasWorked ? 0 : 1;
}

int severalAtOnce()
{
    std::atomic<int> good = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([i, &good] { good += works(u"thread%1"_s.arg(i)) ? 1 : 0; });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return good == 8 ? 0 : 1;
}

/// Whether everything works in this process and in a child of it.
int inTwoProcesses()
{
    const pid_t child = ::fork();
    const bool isGood = works(child == 0 ? u"child"_s : u"parent"_s);
    if (child == 0) {
        std::exit(isGood ? 0 : 1);
    }
    int status = 0;
    return ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0 && isGood ? 0 : 1;
}

/// The operation before has ended, and what was begun for its encryption has not.
int afterAForkBehindARefusal()
{
    const auto server = FMServer::serverWithDestination(u"127.0.0.1"_s, u"user"_s, u"word"_s);
    server->setPort(1); // Where nobody listens.
    server->setEncryption(FTPEncryption::Required);
    return !FTPManager().contentsOfServer(server.get()) ? inTwoProcesses() : 1;
}

/// Works when the program ends. It has its manager from before, or makes it too late.
struct LateWorker {
    explicit LateWorker(std::unique_ptr<FTPManager> ready)
        : manager(std::move(ready))
        , mayWork(manager != nullptr)
    {
    }
    LateWorker(const LateWorker&) = delete;
    LateWorker& operator=(const LateWorker&) = delete;
    ~LateWorker()
    {
        if (works(u"late"_s) != mayWork) {
            ::_exit(1);
        }
    }

    std::unique_ptr<FTPManager> manager;
    bool mayWork;
};

int inAStaticDestructor()
{
    static const LateWorker worker(std::make_unique<FTPManager>());
    return works(u"early"_s) ? 0 : 1;
}

int tooLate()
{
    static const LateWorker worker(nullptr);
    return works(u"early"_s) ? 0 : 1;
}

/// What operations use and what the end of the program puts away is made before the first of them.
int needsNothingLate()
{
    const FTPManager first;
    const int before = mortalObjects;
    const auto refused = FMServer::serverWithDestination(u"localhost"_s, u"nobody"_s, u"word"_s);
    refused->setPort(1); // Where nobody listens.
    const bool isRefused = !FTPManager().checkLogin(refused.get()) && !FTPManager().contentsOfServer(refused.get());
    return isRefused && works(u"early"_s) ? mortalObjects - before : 1;
}

/// Ends while operations are under way.
int exitMeanwhile()
{
    for (int i = 0; i < 4; ++i) {
        std::thread([i] {
            while (works(u"busy%1"_s.arg(i))) { }
        }).detach();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(std::rand() % 60));
    std::exit(0);
}

/// Ends while the first operations of the process begin.
int exitAtTheBeginning()
{
    for (int i = 0; i < 4; ++i) {
        std::thread([i] {
            while (works(u"begun%1"_s.arg(i))) { }
        }).detach();
    }
    std::this_thread::sleep_for(std::chrono::microseconds(std::rand() % 4000));
    std::exit(0);
}

/// A conversation, in a thread of its own, with a server that says nothing.
class SilentConversation {
public:
    SilentConversation()
    {
        const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        socklen_t size = sizeof(address);
        ::listen(listener, 1); // On any port.
        ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
        std::thread([port = ntohs(address.sin_port), ended = std::move(m_ended)]() mutable {
            const auto server = FMServer::serverWithDestination(u"127.0.0.1"_s, u"user"_s, u"word"_s);
            server->setPort(port);
            static_cast<void>(FTPManager().checkLogin(server.get()));
            ended.set_value();
        }).detach();
        m_connection = ::accept(listener, nullptr, nullptr);
    }

    bool isConnected() const
    {
        char bytes[64];
        while (::recv(m_connection, bytes, sizeof(bytes), MSG_DONTWAIT) > 0) { }
        return errno == EAGAIN;
    }
    bool hasEnded() const { return m_end.wait_for(std::chrono::seconds(1)) == std::future_status::ready; }

private:
    std::promise<void> m_ended;
    std::future<void> m_end = m_ended.get_future();
    int m_connection = -1;
};

/// Is destroyed after the operations were ended, since it is made before the first manager.
struct EndWatch {
    EndWatch() = default;
    EndWatch(const EndWatch&) = delete;
    EndWatch& operator=(const EndWatch&) = delete;
    ~EndWatch()
    {
        if (!conversation->hasEnded()) {
            ::_exit(1);
        }
    }

    SilentConversation* conversation = nullptr;
};

int exitBeforeASilentServer()
{
    static EndWatch watch;
    watch.conversation = new SilentConversation;
    return 0;
}

int exitOfAChildMeanwhile()
{
    const SilentConversation conversation;
    const pid_t child = ::fork();
    if (child == 0) {
        std::exit(0);
    }
    int status = 0;
    const bool isGood = ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    return isGood && conversation.isConnected() ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 6) {
        return 2;
    }
    theServer = FMServer::serverWithDestination(u"127.0.0.1"_s, QString::fromUtf8(argv[3]), QString::fromUtf8(argv[4]));
    theServer->setPort(QByteArray(argv[2]).toInt());
    theFolder = QString::fromUtf8(argv[5]);
    if (argc > 6) {
        theServer->setEncryption(FTPEncryption::Required);
        theServer->setTrustedFingerprints({ QByteArray::fromHex(argv[6]) });
    }
    const std::map<std::string, int (*)()> programs{
        { "plain", plain },
        { "besideAnApplication", besideAnApplication },
        { "inAnotherThreadBesideAnApplication", inAnotherThreadBesideAnApplication },
        { "severalAtOnce", severalAtOnce },
        { "afterAFork", inTwoProcesses },
        { "afterAForkBehindARefusal", afterAForkBehindARefusal },
        { "inAStaticDestructor", inAStaticDestructor },
        { "tooLate", tooLate },
        { "needsNothingLate", needsNothingLate },
        { "exitMeanwhile", exitMeanwhile },
        { "exitAtTheBeginning", exitAtTheBeginning },
        { "exitBeforeASilentServer", exitBeforeASilentServer },
        { "exitOfAChildMeanwhile", exitOfAChildMeanwhile },
    };
    ::srand(static_cast<unsigned>(::getpid()));
    const auto program = programs.find(argv[1]);
    return program != programs.end() ? program->second() : 2;
}
