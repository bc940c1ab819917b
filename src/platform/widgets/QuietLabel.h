#pragma once

#include <QLabel>

/// A label whose text changes all the time, such as a clock. A screen reader that asks reads it as any other label, and
/// is not told of each change.
class QuietLabel final : public QLabel {
    Q_OBJECT

public:
    explicit QuietLabel(QWidget* parent = nullptr);
};
