#include "UserDefaults.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <cstdlib>

/// Whatever the file holds, reading it answers texts that it holds, or nothing.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    static const QTemporaryDir folder(QStringLiteral("/dev/shm/settings-fuzzer-XXXXXX"));
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const QString path = folder.filePath(QStringLiteral("settings.json"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) || file.write(bytes) != bytes.size()) {
        std::abort();
    }
    file.close();

    const UserDefaults defaults(path);
    const QJsonObject object = QJsonDocument::fromJson(bytes).object();
    for (const char* const name : { "Address", "Username", "Password", "FTPFolder", "OpenDownloadedFiles" }) {
        const QString key = QString::fromLatin1(name);
        const QJsonValue value = object.value(key);
        if (defaults.string(key) != value.toString() || defaults.string(key).isNull() == value.isString()) {
            std::abort();
        }
        if (defaults.boolean(key).has_value() != value.isBool()) {
            std::abort();
        }
    }
    return 0;
}
