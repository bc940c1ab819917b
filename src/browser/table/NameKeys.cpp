#include "NameKeys.h"

#include <QLocale>

#include <unicode/ucol.h>

namespace {

/// The C locale compares character codes, which is no order for people.
QLocale userLocale()
{
    const QLocale locale = QLocale().collation();
    return locale.language() == QLocale::C ? QLocale(QLocale::English, QLocale::UnitedStates) : locale;
}

UCollator* userCollator()
{
    UErrorCode error = U_ZERO_ERROR;
    UCollator* const collator = ucol_open(userLocale().bcp47Name().toLatin1().constData(), &error);
    ucol_setAttribute(collator, UCOL_NORMALIZATION_MODE, UCOL_ON, &error);
    ucol_setAttribute(collator, UCOL_STRENGTH, UCOL_TERTIARY, &error);
    if (U_FAILURE(error)) {
        ucol_close(collator);
        return nullptr;
    }
    return collator;
}

} // namespace

NameCollator::NameCollator()
    : m_collator(userCollator())
    , m_key(256, Qt::Uninitialized)
{
}

void NameCollator::Closer::operator()(UCollator* collator) const
{
    ucol_close(collator);
}

QByteArrayView NameCollator::keyOf(QStringView name)
{
    if (m_collator == nullptr) {
        m_key = name.toUtf8();
        return m_key;
    }
    const auto makeKey = [this, name] {
        return ucol_getSortKey(m_collator.get(), name.utf16(), static_cast<int32_t>(name.size()),
                               reinterpret_cast<uint8_t*>(m_key.data()), static_cast<int32_t>(m_key.size()));
    };
    qsizetype size = makeKey();
    if (size > m_key.size()) {
        m_key.resize(size);
        size = makeKey();
    }
    return QByteArrayView(m_key).first(size);
}

void NameKeys::append(QByteArrayView key)
{
    if (m_blocks.empty() || m_blocks.back().size() == keysInABlock) {
        m_blocks.emplace_back();
    }
    m_blocks.back().append(key);
}
