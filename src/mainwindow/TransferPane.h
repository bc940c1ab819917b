#pragma once

#include <QList>
#include <QSet>
#include <QWidget>

class OutcomeLine;

/// What stands above the table: the drop area and below it what is told of the transfers. Its height depends on the
/// window's alone: what comes and goes in it takes its room from the drop area, and the table does not jump. In a low
/// window, where that is a line, one of what comes and goes stands there at a time.
class TransferPane final : public QWidget {
    Q_OBJECT

public:
    /// What comes and goes, in the pane's layout. In a low window the first one of @p details, @p otherFolder,
    /// @p brokenListing and @p outcome, which stays until it is dismissed, that has something to tell shows. @p refuge
    /// has the keyboard when what had it is hidden.
    struct Parts {
        QWidget& details;
        QWidget& otherFolder;
        QWidget& brokenListing;
        OutcomeLine& outcome;
        QWidget& refuge;
    };

    using QWidget::QWidget;

    void setParts(const Parts& parts);
    /// Whether @p part has something to tell.
    void tell(QWidget& part, bool isTold);
    /// Leaves the drop area a line when @p isLow, otherwise a share of @p windowHeight, in device-independent pixels.
    void fitTo(int windowHeight, bool isLow);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

private:
    void showWhatIsTold();
    int leastHeight() const;
    int heightWithDropArea(int dropAreaHeight) const;

    QList<QWidget*> m_parts; ///< What comes and goes, by its weight.
    QSet<const QWidget*> m_told;
    QWidget* m_details = nullptr;
    OutcomeLine* m_outcome = nullptr;
    QWidget* m_refuge = nullptr;
    int m_dropAreaHeight = 0; ///< When nothing else is told; 0: a line.
};
