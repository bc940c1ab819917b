// A program that knows nothing of this build: it puts a text on a server, finds it there, gets it back and deletes it.
//   outside PORT USER PASSWORD [FINGERPRINT]    with a certificate's SHA-256 fingerprint encrypted, otherwise in clear

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <quillbox/FTPManager.h>

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc < 4) {
        return 2;
    }
    const auto server = FMServer::serverWithDestination("127.0.0.1", argv[2], argv[3]);
    server->setPort(QByteArray(argv[1]).toInt());
    if (argc > 4) {
        server->setEncryption(FTPEncryption::Required);
        server->setTrustedFingerprints({ QByteArray::fromHex(argv[4]) });
    }
    FTPManager manager;
    if (!manager.uploadData("hello\n", "hello.txt", server.get())) {
        return std::puts("not put"), 1;
    }
    const auto entries = manager.contentsOfServer(server.get());
    if (!entries || entries->size() != 1 || entries->first().name != "hello.txt" || entries->first().size != 6) {
        return std::puts("not listed"), 1;
    }
    const QTemporaryDir folder;
    const QUrl location = QUrl::fromLocalFile(folder.path());
    QFile file(folder.filePath("hello.txt"));
    if (!manager.downloadFile("hello.txt", location, server.get()) || !file.open(QFile::ReadOnly)
        || file.readAll() != "hello\n") {
        return std::puts("not got"), 1;
    }
    return manager.deleteFileNamed(QString("hello.txt"), server.get()) ? 0 : 1;
}
