#include "DateText.h"

#include <QByteArrayList>
#include <QLocale>

#include <unicode/udat.h>

#include <array>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

struct FormatCloser {
    void operator()(UDateFormat* format) const { udat_close(format); }
};

/// The name of the locale that writes dates: of the program's own when it has one, of the user's for dates otherwise.
QByteArray localeName()
{
    const QLocale locale;
    QByteArray name = locale.name().toLatin1();
    if (locale == QLocale::system()) {
        for (const char* variable : { "LC_ALL", "LC_TIME", "LANG" }) {
            name = qgetenv(variable);
            if (!name.isEmpty()) {
                break;
            }
        }
    }
    // The C locale is a way to write programs, not dates.
    static const QByteArrayList plain{ "", "C", "POSIX" };
    return plain.contains(name.split('.').first()) ? "en_US" : name;
}

class DateFormatter {
public:
    explicit DateFormatter(UDateFormatStyle timeStyle)
        : m_timeStyle(timeStyle)
    {
    }

    QString text(const QDateTime& moment)
    {
        if (const QByteArray name = localeName(); m_format == nullptr || name != m_localeName) {
            openFormat(name);
        }
        // The formatter runs in GMT and gets the time of the user's clock, so that Qt alone decides about zones.
        const QDateTime local = moment.toLocalTime();
        const qint64 clockMs = local.toMSecsSinceEpoch() + qint64(local.offsetFromUtc()) * 1000;
        std::array<UChar, 128> buffer{};
        UErrorCode error = U_ZERO_ERROR;
        const int32_t length = udat_format(m_format.get(), static_cast<UDate>(clockMs), buffer.data(),
                                           static_cast<int32_t>(buffer.size()), nullptr, &error);
        return U_SUCCESS(error) ? QString::fromUtf16(buffer.data(), length) : QString();
    }

private:
    void openFormat(const QByteArray& name)
    {
        UErrorCode error = U_ZERO_ERROR;
        m_format.reset(udat_open(m_timeStyle, UDAT_SHORT, name.constData(), u"Etc/GMT", -1, nullptr, 0, &error));
        m_localeName = name;
    }

    UDateFormatStyle m_timeStyle;
    QByteArray m_localeName;
    std::unique_ptr<UDateFormat, FormatCloser> m_format;
};

} // namespace

QString shortDateMediumTimeText(const QDateTime& moment)
{
    static DateFormatter formatter(UDAT_MEDIUM);
    return formatter.text(moment);
}

QString shortDateShortTimeText(const QDateTime& moment)
{
    static DateFormatter formatter(UDAT_SHORT);
    return formatter.text(moment);
}
