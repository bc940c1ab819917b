#pragma once

#include <QWidget>

#include <memory>
#include <optional>

namespace Ui {
class ManualTransfers;
} // namespace Ui

class DestinationListing;
class FTPCreateController;
class FTPGetController;
class FTPListController;
class FTPPutController;
class UploadRun;
class ViewController;
class WindowIndicators;

/// The window of the manual transfers, and what its fields stand for.
class ManualTransfers final : public QWidget {
    Q_OBJECT

public:
    ManualTransfers();
    ~ManualTransfers() override;

    /// What the transfers are made with. All outlive the window's use.
    struct Parts {
        FTPPutController& uploads;
        FTPGetController& downloads;
        FTPListController& listings;
        FTPCreateController& creations;
        UploadRun& run;
        DestinationListing& listing;
        WindowIndicators& indicators;
    };

    const Ui::ManualTransfers& ui() const { return *m_ui; }
    /// Has the buttons begin transfers of @p controller's window, made with @p parts.
    void connectTo(ViewController& controller, const Parts& parts);

    void startStopUpload();
    void startStopDownload();
    /// @p sender: the button that was pressed; startStopListButton lists the folder of the manual fields, any other the
    /// destination.
    void startStopList(const QObject* sender);
    /// @p sender: the button that was pressed; createButton asks for a name and creates in the destination, any other
    /// takes both from the manual fields.
    void startStopCreate(const QObject* sender);

    /// The folder that the field of the destination names, "/" at its end; null without a usable address.
    QString destination() const;
    QString urlToDownload() const;
    QString fileToUpload() const;
    QString folderNameToCreate() const;

private:
    void begin();
    void setFieldWidth(int width);
    void contentsChanged();
    void foldLines();

    std::unique_ptr<Ui::ManualTransfers> m_ui;
    ViewController* m_controller = nullptr; ///< Null until connectTo().
    std::optional<Parts> m_parts; ///< Likewise.
};
