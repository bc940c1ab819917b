#pragma once

#include <QList>
#include <QWidget>

class QLabel;

/// A row of figures, from left to right as their words are, whatever the window's direction. Of the labels that give
/// way it shows those that have a text, as far as there is room for them.
class FiguresRow final : public QWidget {
    Q_OBJECT

public:
    explicit FiguresRow(QWidget* parent = nullptr);

    /// @p labels, which are in the row, are shown in this order.
    void setGivingWay(const QList<QLabel*>& labels) { m_givingWay = labels; }
    /// Their texts may have changed.
    void textsChanged();

    /// What all of them need.
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void fit();
    int widthOfTheRest() const;

    QList<QLabel*> m_givingWay;
    int m_wantedWidth = 0;
};
