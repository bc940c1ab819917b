#pragma once

#include <QWidget>

class OutcomeLine;

/// What stands above the table: the drop area and below it what is told of the transfers. Its height depends on the
/// window's alone: what comes and goes in it takes its room from the drop area, and the table does not jump. In a low
/// window, where that is a line, the details of a transfer stand for a while where the outcome of the last queue was.
class TransferPane final : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;

    /// The two are in the pane's layout.
    void setParts(QWidget& details, OutcomeLine& outcome);
    void showDetails(bool areShown);
    /// Leaves the drop area a line when @p isLow, otherwise a share of @p windowHeight, in device-independent pixels.
    void fitTo(int windowHeight, bool isLow);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

private:
    void giveWay();
    int leastHeight() const;
    int heightWithDropArea(int dropAreaHeight) const;

    QWidget* m_details = nullptr;
    OutcomeLine* m_outcome = nullptr;
    int m_dropAreaHeight = 0; ///< When nothing else is told; 0: a line.
};
