#pragma once

#include "RememberedTrust.h"

#include <QPointer>
#include <QWidget>

/// Asks about certificates in sheets of one window, one at a time with its others. Nothing blocks. For the main thread.
class CertificateSheets final : public CertificatePrompt {
public:
    virtual ~CertificateSheets() = default;

    /// Whose sheets they are. Before it is known, and when it is gone, the answer is no.
    void setWindow(QWidget& window) { m_window = &window; }

    void askToTrust(const CertificateQuestion& question, std::function<void(bool isTrusted)> answer) override;
    void certificateHasChanged(const CertificateQuestion& question, const QByteArray& trustedFingerprint) override;
    void trustIsDamaged(const QString& filePath, std::function<void(bool isToForget)> answer) override;
    void damageCannotBeForgotten(const QString& filePath) override;

private:
    QPointer<QWidget> m_window;
};
