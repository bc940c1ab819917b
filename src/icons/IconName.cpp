#include "IconName.h"

#include "IconSettings.h"

#include <QStringList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype longestFileName = 255 - 8; ///< Bytes that a file system takes, less what a launcher's name adds.

bool isFolderName(const QString& level)
{
    return !level.trimmed().isEmpty() && level != u"."_s && level != u".."_s;
}

} // namespace

IconName::Verdict IconName::judge(const QString& name, IconSort sort)
{
    const auto isControl = [](QChar character) { return character.category() == QChar::Other_Control; };
    const QStringList levels = name.split(u'/');
    if (!name.isValidUtf16() || name.contains(u':') || std::ranges::any_of(name, isControl)
        || !std::ranges::all_of(levels, isFolderName)) {
        return Verdict::Unsuitable;
    }
    const bool hasOwnServer = sort == IconSort::OwnServer;
    if (fileName(name).toUtf8().size() > (hasOwnServer ? IconSettings::longestFileName : longestFileName)) {
        return Verdict::TooLong;
    }
    if (name == u"Quillbox"_s) {
        return Verdict::ProductsName;
    }
    return name.startsWith(u"Quillbox"_s) && !hasOwnServer ? Verdict::NoFolderOfItsOwn : Verdict::Good;
}

bool IconName::canBeMade(Verdict verdict)
{
    return verdict == Verdict::Good || verdict == Verdict::NoFolderOfItsOwn;
}

QString IconName::fileName(const QString& name)
{
    QString file = name;
    file.replace(u'/', u':');
    // The program takes one such ending off its name.
    return file.endsWith(u".app"_s) ? file + u".app"_s : file;
}

QString IconName::ofFile(const QString& fileName)
{
    QString name = fileName;
    if (name.endsWith(u".app"_s)) {
        name.chop(4);
    }
    name.replace(u':', u'/');
    return IconName::fileName(name) == fileName ? name : QString();
}
