#include "RequestedUploads.h"

#include "AppDelegate.h"
#include "DestinationSettings.h"
#include "IconSettings.h"
#include "SettingsAlert.h"
#include "UploadReport.h"
#include "UserDefaults.h"
#include "ViewController.h"

using namespace Qt::StringLiterals;

namespace {

QString whyThereIsNoDestination()
{
    const UserDefaults& settings = connectionSettings();
    if (settings.isReadable()) {
        return alertLine(u"No Destination"_s,
                         u"Specify a destination on the FTP server. See Preferences for instructions."_s);
    }
    const SettingsAlert alert
        = IconSettings::areInUse() ? SettingsAlert::iconBroken(settings) : SettingsAlert::broken(settings);
    return alertLine(alert.title, alert.text);
}

} // namespace

std::unique_ptr<RequestWatch> RequestedUploads::begin(const PathList& files, bool areUnattended, QString& refusal)
{
    if (areUnattended && DestinationSettings::destination().isNull()) {
        refusal = whyThereIsNoDestination();
        return nullptr;
    }
    if (!areUnattended) {
        m_delegate.showMainWindow();
    }
    const UploadRequest request{ ++m_last, areUnattended };
    auto watch = std::make_unique<RequestWatch>(m_viewController.history(), m_viewController.intake(), request);
    return m_delegate.upload({ files, {}, request }) ? std::move(watch) : nullptr;
}
