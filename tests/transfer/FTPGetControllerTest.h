#pragma once

#include "FTPGetController.h"
#include "TransferTest.h"
#include "UserDefaults.h"

#include <memory>
#include <optional>

/// Notes progress as "percent N" and "bytes N", and a file that cannot take its name as "stays PATH".
class GetDelegate final : public RecordingDelegate, public FTPGetControllerDelegate {
public:
    void percentDone(float percent) override { note(QStringLiteral("percent %1").arg(double(percent), 0, 'g', 9)); }
    void bytesDone(float bytes) override { note(QStringLiteral("bytes %1").arg(double(bytes), 0, 'f', 0)); }
    void updateStatus(const QString& status) override { note(status); }

    void fileStaysBeside(const QString& path) override { note(QStringLiteral("stays ") + path); }

    WeakRef<GetDelegate> ref() { return m_anchor.ref(this); }

private:
    WeakAnchor m_anchor;
};

/// A download controller, the delegate that it reports to, and the files that it wants opened.
class FTPGetControllerTest : public TransferTest {
protected:
    FTPGetControllerTest() { makeController(); }

    void makeController()
    {
        m_controller = std::make_unique<FTPGetController>(m_streams, m_defaults,
                                                          [this](const QString& file) { m_opened.append(file); });
        m_controller->setDelegate(m_delegate->ref());
    }

    void start(const QString& file)
    {
        m_controller->startReceive(QStringLiteral("ftp://host/dir/remote%20name"), QStringLiteral("me"),
                                   QStringLiteral("secret"), file);
    }

    void startReceivingFileOfSize(std::optional<qint64> size)
    {
        start(m_file);
        m_streams.last().resourceSize = size;
        m_streams.last().sendOpenCompleted();
        m_delegate->calls.clear();
    }

    QString m_file = path(QStringLiteral("local"));
    QStringList m_opened;
    UserDefaults m_defaults{ path(QStringLiteral("settings.json")) };
    std::unique_ptr<GetDelegate> m_delegate = std::make_unique<GetDelegate>();
    std::unique_ptr<FTPGetController> m_controller;
};
