#include "TemporaryHome.h"

#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;

TemporaryHome::TemporaryHome()
{
    for (const auto& [variable, folder] :
         { std::pair{ "HOME", "" }, std::pair{ "XDG_CONFIG_HOME", ".config" }, std::pair{ "XDG_CACHE_HOME", ".cache" },
           std::pair{ "XDG_DATA_HOME", ".local/share" }, std::pair{ "XDG_STATE_HOME", ".local/state" },
           std::pair{ "XDG_RUNTIME_DIR", "run" } }) {
        const QString path = m_directory.filePath(QString::fromLatin1(folder));
        QDir().mkpath(path);
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        m_environment.emplace_back(variable, QFile::encodeName(path));
    }
    for (const QString& folder : { u"Downloads"_s, u"Documents"_s }) {
        QDir(m_directory.path()).mkdir(folder);
    }
}
