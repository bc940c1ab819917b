#pragma once

#include <QDialog>
#include <QList>
#include <QString>

class IconLabel;
class QAbstractButton;
class QDialogButtonBox;
class QIcon;
class QPushButton;
class QVBoxLayout;
struct SheetDetail;
struct SheetList;

/// A message or a question: an icon, a title, a text, details, and one or two buttons. All texts are shown as they
/// stand: what looks like markup is none. Ctrl+C copies title and text. Its result is Accepted when the alternate
/// button was pressed, otherwise Rejected.
class AlertDialog final : public QDialog {
    Q_OBJECT

public:
    enum class Style { Informational, Warning, Critical };

    /// @p title is also the caption of the window. One button, "OK"; it answers Return, and Escape.
    AlertDialog(QString title, QString text, QWidget* parent = nullptr);

    const QString& title() const { return m_title; }
    const QString& text() const { return m_text; }
    /// A warning until another one is set.
    Style alertStyle() const { return m_style; }
    void setAlertStyle(Style alertStyle);
    void setIcon(const QIcon& icon);

    QPushButton* defaultButton() const { return m_defaultButton; }
    /// Adds the button of the other choice.
    void addAlternateButton(const QString& text);
    QList<QAbstractButton*> buttons() const;

    /// Shows @p details below the text, each a value that is described by its name. Codes are never shortened, and can
    /// be selected.
    void addDetails(const QList<SheetDetail>& details);
    /// Shows @p list below them.
    void addList(const SheetList& list);

protected:
    void showEvent(QShowEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    QWidget* newText();
    int widthOfText() const;
    int widthFor(int wanted) const;
    void fitToScreen();

    QString m_title;
    QString m_text;
    Style m_style = Style::Warning;
    IconLabel* m_icon;
    QWidget* m_texts;
    QVBoxLayout* m_column; ///< Of m_texts: one below the other.
    QDialogButtonBox* m_buttons;
    QPushButton* m_defaultButton;
};
