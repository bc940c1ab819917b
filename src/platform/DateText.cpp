#include "DateText.h"

#include <QLocale>

#include <unicode/udat.h>

#include <array>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

struct FormatCloser {
    void operator()(UDateFormat* format) const { udat_close(format); }
};

class DateFormatter {
public:
    explicit DateFormatter(UDateFormatStyle timeStyle)
        : m_timeStyle(timeStyle)
    {
    }

    QString text(const QDateTime& moment)
    {
        const QLocale locale;
        if (m_format == nullptr || locale != m_locale) {
            openFormat(locale);
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
    void openFormat(const QLocale& locale)
    {
        // The C locale is a way to write programs, not dates.
        const QString name = locale.language() == QLocale::C ? u"en_US"_s : locale.name();
        UErrorCode error = U_ZERO_ERROR;
        m_format.reset(
            udat_open(m_timeStyle, UDAT_SHORT, name.toLatin1().constData(), u"Etc/GMT", -1, nullptr, 0, &error));
        m_locale = locale;
    }

    UDateFormatStyle m_timeStyle;
    QLocale m_locale;
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
