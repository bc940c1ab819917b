#include "LabelAlignment.h"

#include <QImage>
#include <QLabel>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

/// Whether the text of @p label stands in its right half.
bool isAtTheRight(QLabel& label)
{
    const QImage image = label.grab().toImage();
    QImage empty(image.width() / 2, image.height(), image.format());
    empty.fill(image.pixel(0, 0));
    return image.copy(empty.rect()) == empty;
}

TEST(LabelAlignmentTest, AnEnglishTextStandsWhereTheDirectionOfItsWindowSays)
{
    for (const Qt::LayoutDirection direction : { Qt::LeftToRight, Qt::RightToLeft }) {
        QWidget window;
        window.setLayoutDirection(direction);
        QLabel note(u"Test"_s, &window);
        QLabel name(u"Folder:"_s, &window);
        name.setAlignment(Qt::AlignRight);
        note.resize(300, 30);
        name.resize(300, 30);

        alignLabelsToDirection(window);
        alignLabelsToDirection(window); // As for an alert that shows again.

        EXPECT_EQ(isAtTheRight(note), direction == Qt::RightToLeft);
        EXPECT_EQ(isAtTheRight(name), direction == Qt::LeftToRight);
    }
}

} // namespace
