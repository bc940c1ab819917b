#pragma once

#include <QWidget>

/// What stands above the table: the drop area and below it what is told of the transfers. Its height depends on the
/// window's alone: what comes and goes in it takes its room from the drop area, and the table does not jump.
class TransferPane final : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;

    /// Leaves the drop area a line when @p isLow, otherwise a share of @p windowHeight, in device-independent pixels.
    void fitTo(int windowHeight, bool isLow);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

private:
    int leastHeight() const;
    int heightWithDropArea(int dropAreaHeight) const;

    int m_dropAreaHeight = 0; ///< When nothing else is told; 0: a line.
};
