#include "SystemCertificates.h"

#include "BesideLoop.h"

#include <QByteArray>
#include <QObject>

#include <future>
#include <map>
#include <mutex>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>
#include <thread>
#include <utility>

namespace {

using Store = std::shared_future<X509_STORE*>;

X509_STORE* readStore()
{
    X509_STORE* const store = X509_STORE_new();
    X509_STORE_set_default_paths(store);
    return store;
}

/// Where the system's authorities stand; the environment may name another place.
std::pair<QByteArray, QByteArray> place()
{
    return { qgetenv(X509_get_default_cert_file_env()), qgetenv(X509_get_default_cert_dir_env()) };
}

/// The store of the place, being read or read. Stores live as long as the process: channels of any thread use them.
Store sharedStore()
{
    static std::mutex mutex;
    static auto& stores = *new std::map<std::pair<QByteArray, QByteArray>, Store>;
    const std::lock_guard lock(mutex);
    Store& store = stores[place()];
    if (!store.valid()) {
        std::promise<X509_STORE*> promise;
        store = promise.get_future().share();
        std::thread([promise = std::move(promise)]() mutable { promise.set_value(readStore()); }).detach();
    }
    return store;
}

bool isReady(const Store& store)
{
    return store.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

} // namespace

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
