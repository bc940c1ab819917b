#include "FTPLocation.h"
#include "FTPManagerStrings.h"
#include "NetworkManager.h"
#include "URLText.h"

#include <QLoggingCategory>

#include <cstdlib>

namespace {

void require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

/// What is built is nothing or a location, and a name without "/" is its item's name, to the letter. (Behind a "?" or
/// "#" of the address, which stay where they are, it is not the last thing there.)
void check(const QString& folder, const QString& name)
{
    const QString text = URLText::appendingPathComponent(folder, name);
    if (text.isNull()) {
        return;
    }
    require(URLText::isURLText(text));
    for (const QChar character : text) {
        require(character > u' ' && character < u'\x7f');
    }
    const std::optional<FTPLocation> location = FTPLocation::fromText(text);
    const bool hasTail = folder.contains(u'?') || folder.contains(u'#');
    if (location && !hasTail && !name.isEmpty() && !name.contains(u'/')) {
        require(location->name() == name.toUtf8());
    }
}

} // namespace

/// The first line is an address as a user writes it, the second the name of an item there.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    QLoggingCategory::setFilterRules(QStringLiteral("*=false"));
    NetworkManager::setReachabilitySource([] { return ReachabilityFlags(ReachabilityFlag::Reachable); });
    const QByteArrayView bytes(data, static_cast<qsizetype>(size));
    const qsizetype lineEnd = bytes.indexOf('\n');
    const QString address = QString::fromUtf8(lineEnd < 0 ? bytes : bytes.first(lineEnd));
    const QString name = lineEnd < 0 ? QString() : QString::fromUtf8(bytes.sliced(lineEnd + 1));

    const QString smart = NetworkManager::sharedInstance().smartURLForString(address);
    require(smart.isNull() || URLText::isURLText(smart));
    check(smart, name);
    const QString ofLibrary = ftpURLForPort(address, 2121);
    require(ofLibrary.isNull() || URLText::isURLText(ofLibrary));
    check(ofLibrary, name);
    return 0;
}
