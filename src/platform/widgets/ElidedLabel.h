#pragma once

#include <QLabel>

/// A label of one line that shortens a text too long for it in the middle and never widens its window. Its text stays
/// whole for those who read it, and stands above its tool tip while it is shortened.
class ElidedLabel final : public QLabel {
    Q_OBJECT

public:
    using QLabel::QLabel;

    QSize minimumSizeHint() const override;
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;

private:
    QString elidedText() const;
};
