#pragma once

#include <functional>

class QObject;
struct x509_store_st;

/// The certificate authorities that the system trusts. Reading them takes some tens of milliseconds, so it is done once
/// for the process, on a thread of its own, as soon as somebody says that they will be needed. All functions may be
/// called on any thread.
namespace SystemCertificates {

/// Has OpenSSL, and what of it is being read, outlive the static objects that the program makes from now on.
void prepareForTheEnd();
/// Begins to read them, unless that was begun before.
void prepare();
/// Calls @p whenReady on the calling thread's loop as soon as they have been read, unless @p context is destroyed
/// before.
void whenReady(QObject* context, std::function<void()> whenReady);
/// The store, shared by all; waits until it has been read. Lives as long as the process.
x509_store_st* store();

} // namespace SystemCertificates
