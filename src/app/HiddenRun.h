#pragma once

#include "RequestWatch.h"
#include "UploadReport.h"

#include <QObject>
#include <QStringList>

#include <memory>

class AppDelegate;
class RequestedUploads;
class UploadsService;
class ViewController;

/// The program without its window: it uploads the files of its command line, prints what becomes of them, and ends when
/// nothing is left to do, unless somebody has had the window shown meanwhile. Belongs to the main thread.
class HiddenRun final : public QObject {
    Q_OBJECT

public:
    struct Parts {
        ViewController& viewController;
        AppDelegate& delegate;
        RequestedUploads& uploads;
        UploadsService& service;
    };

    /// @p parts outlive it.
    HiddenRun(const Parts& parts, const QStringList& files);

    void begin();
    /// Ends the program when it isIdle() and all its lines are read.
    void endIfIdle();
    /// Whether nothing is left to do and the window is still hidden.
    bool isIdle() const;
    /// The loop has ended: says of each file that is not over that it is not. Answers the process's exit status.
    int finish();

private:
    Parts m_parts;
    QStringList m_files;
    UploadReport m_report;
    std::unique_ptr<RequestWatch> m_watch; ///< Null when the files were not taken.
};
