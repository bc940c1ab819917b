#include "ServerExtras.h"

#include "FocusKeeping.h"
#include "ServerForm.h"
#include "SettingNames.h"
#include "SheetQueue.h"
#include "UserDefaults.h"
#include "ui_ServerExtras.h"

#include <utility>

using namespace Qt::StringLiterals;

ServerExtras::ServerExtras(QWidget* parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::ServerExtras>())
{
    m_ui->setupUi(this);
    // Screen readers come by the controls only.
    m_ui->webAddressTextField->setAccessibleDescription(m_ui->webAddressNote->text());
    m_ui->forgetCertificateButton->setAccessibleDescription(m_ui->forgetCertificateNote->text());
    connect(m_ui->forgetCertificateButton, &QPushButton::clicked, this, &ServerExtras::forgetCertificate);
}

ServerExtras::~ServerExtras() = default;

void ServerExtras::setAccess(ServerAccess access, const ServerForm& form)
{
    m_access = std::move(access);
    m_form = &form;
    connect(&form, &ServerForm::destinationShown, this, &ServerExtras::showWhetherTrusted);
    // The question about a certificate may have been answered.
    connect(&form, &ServerForm::testReported, this, &ServerExtras::showWhetherTrusted);
}

void ServerExtras::fill(const UserDefaults& settings)
{
    m_filledWebAddress = settings.string(SettingNames::webAddress);
    m_ui->webAddressTextField->setText(m_filledWebAddress);
}

QHash<QString, QJsonValue> ServerExtras::changes() const
{
    const QString webAddress = m_ui->webAddressTextField->text();
    if (webAddress == m_filledWebAddress) {
        return {};
    }
    return { { SettingNames::webAddress, webAddress.isEmpty() ? QJsonValue() : QJsonValue(webAddress) } };
}

void ServerExtras::showWhetherTrusted()
{
    const QString location = m_form->destination();
    setEnabledKeepingFocus(*m_ui->forgetCertificateButton, !location.isNull() && m_access.trustsCertificate(location),
                           *m_ui->webAddressTextField);
}

void ServerExtras::forgetCertificate()
{
    if (!m_access.forgetCertificate(m_form->destination())) {
        SheetQueue::of(*window()).raise(
            { .title = u"Certificate Not Forgotten"_s,
              .text = u"The list of trusted certificates could not be written. It is beside "
                      "“%1”."_s.arg(UserDefaults::standard().filePath()) });
    }
    showWhetherTrusted();
}
