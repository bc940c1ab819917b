#include "KTVerticallyCenteredTextFieldCell.h"

#include <QKeyEvent>
#include <QLineEdit>

#include <gtest/gtest.h>

#include <vector>

namespace {

/// A base cell that tells what it was asked for, and asks for the room while it sets up, as real ones do.
class RecordingCell : public TextFieldCell {
public:
    QRectF drawingRectForBounds(const QRectF& bounds) const override { return bounds.adjusted(2, 1, -2, -1); }
    QSizeF cellSizeForBounds(const QRectF& bounds) const override
    {
        sizedBounds.push_back(bounds);
        return { 50, neededHeight };
    }
    void selectWithFrame(const QRectF& frame, QWidget* view, QLineEdit* editor, QObject* delegate, int start,
                         int length) override
    {
        call = { frame, drawingRectForBounds(frame), view, editor, delegate };
        selection = { start, length };
    }
    void editWithFrame(const QRectF& frame, QWidget* view, QLineEdit* editor, QObject* delegate, QEvent* event) override
    {
        call = { frame, drawingRectForBounds(frame), view, editor, delegate };
        editEvent = event;
    }

    struct Call {
        QRectF frame;
        QRectF room;
        QWidget* view = nullptr;
        QLineEdit* editor = nullptr;
        QObject* delegate = nullptr;
    };

    qreal neededHeight = 17;
    Call call;
    std::pair<int, int> selection;
    QEvent* editEvent = nullptr;
    mutable std::vector<QRectF> sizedBounds;
};

using CenteredCell = KTVerticallyCenteredTextFieldCell<RecordingCell>;

/// Its base draws everywhere in its bounds.
class PlainBase : public RecordingCell {
public:
    QRectF drawingRectForBounds(const QRectF& bounds) const override { return bounds; }
};

TEST(VerticallyCenteredTextFieldCellTest, CentresTheTextInATallFrame)
{
    const KTVerticallyCenteredTextFieldCell<PlainBase> cell;

    EXPECT_EQ(cell.drawingRectForBounds({ 3, 100, 80, 30 }), QRectF(3, 106.5, 80, 17));
    EXPECT_EQ(cell.sizedBounds, std::vector<QRectF>{ QRectF(3, 100, 80, 30) });
}

TEST(VerticallyCenteredTextFieldCellTest, StartsFromTheRoomOfTheBaseAndTheSizeForTheBounds)
{
    const CenteredCell cell;

    EXPECT_EQ(cell.drawingRectForBounds({ 0, 0, 80, 30 }), QRectF(2, 6.5, 76, 17));
    EXPECT_EQ(cell.sizedBounds, std::vector<QRectF>{ QRectF(0, 0, 80, 30) });
}

TEST(VerticallyCenteredTextFieldCellTest, LeavesAFrameLowerThanTheText)
{
    CenteredCell cell;
    cell.neededHeight = 28;
    EXPECT_EQ(cell.drawingRectForBounds({ 0, 0, 80, 30 }), QRectF(2, 1, 76, 28));
    cell.neededHeight = 40;
    EXPECT_EQ(cell.drawingRectForBounds({ 0, 0, 80, 30 }), QRectF(2, 1, 76, 28));
}

TEST(VerticallyCenteredTextFieldCellTest, TheDifferenceHasSinglePrecision)
{
    KTVerticallyCenteredTextFieldCell<PlainBase> cell;
    cell.neededHeight = 29.9;
    const auto difference = static_cast<qreal>(static_cast<float>(30 - 29.9));
    ASSERT_NE(difference, 30 - 29.9);

    const QRectF room = cell.drawingRectForBounds({ 0, 0, 80, 30 });

    EXPECT_DOUBLE_EQ(room.y(), difference * 0.5);
    EXPECT_DOUBLE_EQ(room.height(), 30 - difference);
    EXPECT_NE(room.height(), 29.9);
}

TEST(VerticallyCenteredTextFieldCellTest, SelectingAndEditingCentreOnce)
{
    CenteredCell cell;
    QWidget view;
    QLineEdit editor;
    QObject delegate;
    QEvent event(QEvent::User);
    const QRectF frame(0, 0, 80, 30);
    const QRectF centred(2, 6.5, 76, 17);

    cell.selectWithFrame(frame, &view, &editor, &delegate, 3, 4);
    EXPECT_EQ(cell.call.frame, centred);
    EXPECT_EQ(cell.call.room, centred.adjusted(2, 1, -2, -1)); // That of the base, not centred again.
    EXPECT_EQ(cell.call.view, &view);
    EXPECT_EQ(cell.call.editor, &editor);
    EXPECT_EQ(cell.call.delegate, &delegate);
    EXPECT_EQ(cell.selection, std::pair(3, 4));

    cell.call = {};
    cell.editWithFrame(frame, &view, &editor, &delegate, &event);
    EXPECT_EQ(cell.call.frame, centred);
    EXPECT_EQ(cell.call.room, centred.adjusted(2, 1, -2, -1));
    EXPECT_EQ(cell.editEvent, &event);

    EXPECT_EQ(cell.drawingRectForBounds(frame), centred); // Centred again afterwards.
}

TEST(VerticallyCenteredTextFieldCellTest, TheRealCellPlacesItsEditor)
{
    KTVerticallyCenteredTextFieldCell<> cell;
    cell.text = QStringLiteral("some text");
    QWidget view;
    auto* const editor = new QLineEdit;
    QKeyEvent key(QEvent::KeyPress, Qt::Key_X, Qt::NoModifier, QStringLiteral("x"));

    cell.selectWithFrame({ 0, 0, 200, 60 }, &view, editor, nullptr, 5, 4);
    EXPECT_EQ(editor->parentWidget(), &view);
    EXPECT_EQ(editor->selectedText(), QStringLiteral("text"));
    EXPECT_NEAR(editor->geometry().center().y(), 30, 1);

    cell.editWithFrame({ 0, 0, 200, 60 }, &view, editor, nullptr, &key);
    EXPECT_EQ(editor->text(), QStringLiteral("some textx"));
}

} // namespace
