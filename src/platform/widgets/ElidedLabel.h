#pragma once

#include <QLabel>

/// A label of one line that shortens a text too long for it in the middle and never widens its window. Its text stays
/// whole for those who read it, and stands above its tool tip while it is shortened.
class ElidedLabel : public QLabel {
    Q_OBJECT
    /// Of its font, which may become smaller before the text is shortened; 1: not at all.
    Q_PROPERTY(double smallestScale MEMBER m_smallestScale)

public:
    using QLabel::QLabel;

    /// Whether the text is shortened.
    bool isCut() const { return elidedText(fittingFont()) != text(); }

    QSize minimumSizeHint() const override;
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;

private:
    QString line() const;
    QFont fittingFont() const;
    QString elidedText(const QFont& font) const;

    double m_smallestScale = 1;
};
