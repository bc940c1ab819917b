#include "SystemCertificates.h"

#include "BesideLoop.h"

#include <QByteArray>
#include <QObject>

#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <openssl/crypto.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>
#include <pthread.h>
#include <utility>

namespace {

using Store = std::shared_future<X509_STORE*>;

X509_STORE* readStore()
{
    X509_STORE* const store = X509_STORE_new();
    X509_STORE_set_default_paths(store);
    OPENSSL_thread_stop(); // Not as late as at the thread's end, when nobody waits for it: it holds a lock of
                           // OpenSSL's.
    return store;
}

/// Where the system's authorities stand; the environment may name another place.
std::pair<QByteArray, QByteArray> place()
{
    return { qgetenv(X509_get_default_cert_file_env()), qgetenv(X509_get_default_cert_dir_env()) };
}

/// The stores of all places, being read or read. They live as long as the process: channels of any thread use them.
struct Stores {
    std::mutex mutex;
    std::map<std::pair<QByteArray, QByteArray>, Store> all;
};

Stores& stores()
{
    static auto& stores = *new Stores;
    return stores;
}

/// Waits until nothing is being read, and lets nobody begin before unlock().
void lockWhenRead()
{
    stores().mutex.lock();
    for (const auto& [place, store] : stores().all) {
        store.wait();
    }
}

void unlock()
{
    stores().mutex.unlock();
}

/// At the end of the program OpenSSL puts away what reading needs. Its static object is destroyed before that, since
/// OpenSSL is made first. A child of the process has no thread that would go on with reading, and would find OpenSSL in
/// the midst of it.
class ReadingEnd {
public:
    ReadingEnd()
    {
        OPENSSL_init_ssl(0, nullptr);
        ::pthread_atfork(lockWhenRead, unlock, unlock);
    }
    ReadingEnd(const ReadingEnd&) = delete;
    ReadingEnd& operator=(const ReadingEnd&) = delete;
    ~ReadingEnd()
    {
        lockWhenRead();
        unlock();
    }
};

Store sharedStore()
{
    SystemCertificates::prepareForTheEnd();
    const std::lock_guard lock(stores().mutex);
    Store& store = stores().all[place()];
    if (!store.valid()) {
        const auto reading = std::make_shared<std::packaged_task<X509_STORE*()>>(readStore);
        store = reading->get_future().share();
        const auto read = [reading] { (*reading)(); };
        if (!runBeside(read)) {
            read();
        }
    }
    return store;
}

bool isReady(const Store& store)
{
    return store.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

} // namespace

void SystemCertificates::prepareForTheEnd()
{
    static const ReadingEnd end;
}

void SystemCertificates::prepare()
{
    sharedStore();
}

x509_store_st* SystemCertificates::store()
{
    return sharedStore().get();
}

void SystemCertificates::whenReady(QObject* context, std::function<void()> whenReady)
{
    const Store store = sharedStore();
    if (isReady(store)) {
        QMetaObject::invokeMethod(context, std::move(whenReady), Qt::QueuedConnection);
        return;
    }
    runBesideLoop([store] { store.wait(); }, context, whenReady);
}
