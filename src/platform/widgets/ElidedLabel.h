#pragma once

#include <QLabel>

/// A label that shortens a text too long for its line in the middle and never widens its window. Its text stays whole
/// for those who read it, and stands above its tool tip while it is shortened.
class ElidedLabel : public QLabel {
    Q_OBJECT
    /// Of its font, which may become smaller before the text is shortened, as the text may take two lines where the
    /// label is high enough; 1: neither.
    Q_PROPERTY(double smallestScale MEMBER m_smallestScale)

public:
    using QLabel::QLabel;

    /// Whether the text is shortened.
    bool isCut() const { return shown().text != text(); }

    QSize minimumSizeHint() const override;
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;

private:
    struct Shown {
        QFont font;
        QString text;
        int flags = Qt::TextSingleLine;
    };
    QString line() const;
    Shown shown() const;

    double m_smallestScale = 1;
};
