#pragma once

#include <QWidget>

class IconLabel;
class QBoxLayout;
class QLabel;

/// What an area for drops says of itself: an icon, what can be dropped, and the key for the same.
class DropHint final : public QWidget {
    Q_OBJECT

public:
    explicit DropHint(QWidget* parent = nullptr);

    /// In one line, beside something else without the key, or else with the key below.
    enum class Shape { TwoLines, OneLine, OneShortLine };
    void setShape(Shape shape);
    /// Whether to say instead that nothing is uploaded, as an icon has lost the settings of its own server.
    void setServerLost(bool isLost);
    bool isServerLost() const { return m_isServerLost; }
    /// The height that it takes in two lines.
    int heightInTwoLines() const;

protected:
    void changeEvent(QEvent* event) override;

private:
    void applyFonts();
    void showTexts();

    IconLabel* m_icon;
    QLabel* m_title;
    QLabel* m_key;
    QBoxLayout* m_texts;
    Shape m_shape = Shape::TwoLines;
    bool m_isServerLost = false;
};
