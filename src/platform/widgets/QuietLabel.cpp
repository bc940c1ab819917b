#include "QuietLabel.h"

#include <QAccessibleWidget>

using namespace Qt::StringLiterals;

namespace {

/// Its name is the text of the label at any moment.
class AccessibleQuietLabel final : public QAccessibleWidget {
public:
    explicit AccessibleQuietLabel(QuietLabel& label)
        : QAccessibleWidget(&label, QAccessible::StaticText)
        , m_label(label)
    {
    }

    QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Name ? m_label.text() : QAccessibleWidget::text(kind);
    }

private:
    const QuietLabel& m_label;
};

QAccessibleInterface* accessibleLabel(const QString& /*className*/, QObject* object)
{
    auto* const label = qobject_cast<QuietLabel*>(object);
    return label == nullptr ? nullptr : new AccessibleQuietLabel(*label);
}

} // namespace

QuietLabel::QuietLabel(QWidget* parent)
    : ElidedLabel(parent)
{
    QAccessible::installFactory(accessibleLabel); // More than once does no harm.
    // A label without an accessible name of its own reports each new text.
    setAccessibleName(u"Text"_s);
}

QSize QuietLabel::sizeHint() const
{
    return fontMetrics().size(Qt::TextSingleLine, text());
}
