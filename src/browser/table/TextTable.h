#pragma once

#include <QString>
#include <QTableView>
#include <QTimer>

/// A table of lines as this program shows them: rows alternate, there is no grid, the keyboard's place is framed, and
/// an empty table can say why it is empty. Its accessible description says that too, or how many rows there are.
class TextTable : public QTableView {
    Q_OBJECT

public:
    explicit TextTable(QWidget* parent = nullptr);

    /// What an empty table says.
    const QString& emptyText() const { return m_emptyText; }
    void setEmptyText(const QString& text);

    void setModel(QAbstractItemModel* model) override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

    /// The width of the frame around the table as a whole, in device-independent pixels; 0 for none.
    virtual int highlightWidth() const { return hasFocus() ? 1 : 0; }

private:
    void describe();

    QString m_emptyText;
    QTimer m_descriptionTimer; ///< Rows come in many small portions.
};

/// The width of a column of @p table that shows @p text whole, in device-independent pixels.
int columnWidthFor(const QTableView& table, const QString& text);
