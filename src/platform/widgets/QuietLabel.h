#pragma once

#include "ElidedLabel.h"

/// A label whose text changes all the time, such as a clock. A screen reader that asks reads it as any other label, and
/// is not told of each change.
class QuietLabel final : public ElidedLabel {
    Q_OBJECT

public:
    explicit QuietLabel(QWidget* parent = nullptr);

    /// All of its text.
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return { 0, sizeHint().height() }; }
};
