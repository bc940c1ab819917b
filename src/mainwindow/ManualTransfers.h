#pragma once

#include <QWidget>

#include <memory>

namespace Ui {
class ManualTransfers;
} // namespace Ui

class ViewController;

/// The window of the manual transfers, and what its fields stand for.
class ManualTransfers final : public QWidget {
    Q_OBJECT

public:
    ManualTransfers();
    ~ManualTransfers() override;

    const Ui::ManualTransfers& ui() const { return *m_ui; }
    /// Has the buttons start and stop transfers of @p controller, which outlives the window's use.
    void connectTo(ViewController& controller);

    /// The folder that the field of the destination names, "/" at its end; null without a usable address.
    QString destination() const;
    QString urlToDownload() const;
    QString fileToUpload() const;
    QString folderNameToCreate() const;

private:
    std::unique_ptr<Ui::ManualTransfers> m_ui;
};
