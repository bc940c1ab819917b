#pragma once

#include <QIcon>
#include <QLabel>

/// Shows an icon as high as a line of text, sharp on every screen. What it means belongs into its accessible name and
/// its tool tip.
class IconLabel final : public QLabel {
    Q_OBJECT

public:
    using QLabel::QLabel;

    void setIcon(const QIcon& icon);
    const QIcon& icon() const { return m_icon; }
    /// In device-independent pixels, in place of the height of a line; or that where it is more.
    void setSide(int side);

    QSize minimumSizeHint() const override { return sizeHint(); }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QIcon m_icon;
    int m_side = 16;
};
