#include "PreferencesController.h"

#include "AddressAdvice.h"
#include "BringToFront.h"
#include "ConnectionTestText.h"
#include "DelayedAlert.h"
#include "DrawnIcons.h"
#include "EncryptionSetting.h"
#include "FocusKeeping.h"
#include "SheetQueue.h"
#include "UserDefaults.h"
#include "VisibleText.h"
#include "ui_Preferences.h"

#include <QUuid>

using namespace Qt::StringLiterals;

namespace {

const QString openDownloadedFiles = u"OpenDownloadedFiles"_s;

QString orRoot(const QString& folder)
{
    return folder.isEmpty() ? u"/"_s : folder;
}

} // namespace

PreferencesController::PreferencesController(UserDefaults& defaults, Application application)
    : m_defaults(defaults)
    , m_application(std::move(application))
    , m_ui(std::make_unique<Ui::Preferences>())
    , m_view(std::make_unique<QDialog>())
{
    m_ui->setupUi(m_view.get());
    m_usernameTextField = m_ui->usernameTextField;
    m_passwordTextField = m_ui->passwordTextField;
    m_addressTextField = m_ui->addressTextField;
    m_folderTextField = m_ui->folderTextField;
    connect(m_ui->doneButton, &QPushButton::clicked, this, &PreferencesController::doneButton);
    connect(m_ui->cancelButton, &QPushButton::clicked, m_view.get(), &QDialog::reject);
    connect(m_ui->showPasswordButton, &QPushButton::toggled, this, &PreferencesController::showPassword);
    connectFields();
    connect(m_ui->requiredEncryptionButton, &QRadioButton::toggled, this, &PreferencesController::clearTest);
    connect(m_ui->testButton, &QPushButton::clicked, this, &PreferencesController::startOrStopTest);
    connect(m_view.get(), &QDialog::finished, this, &PreferencesController::clearTest);
    m_ui->showPasswordButton->setIcon(drawnEyeIcon());
    connect(m_ui->requiredEncryptionButton, &QRadioButton::toggled, this, &PreferencesController::showEncryption);
    connect(m_ui->forgetCertificateButton, &QPushButton::clicked, this, &PreferencesController::forgetCertificate);
    showEncryption();
    viewDidLoad();
}

PreferencesController::~PreferencesController() = default;

void PreferencesController::viewDidLoad()
{
    m_preferredContentSize = m_view == nullptr ? QSize(0, 0) : m_view->size();
}

void PreferencesController::showPanel()
{
    if (!m_view->isVisible()) {
        fillFields();
        m_addressTextField->setFocus();
        m_view->show();
        viewDidAppear();
    }
    bringToFront(*m_view);
}

void PreferencesController::viewDidAppear()
{
    m_savedFTPFolder = orRoot(m_defaults.string(u"FTPFolder"_s));
}

std::array<std::pair<QString, QLineEdit*>, 4> PreferencesController::fields() const
{
    return { { { u"Address"_s, m_addressTextField },
               { u"Username"_s, m_usernameTextField },
               { u"Password"_s, m_passwordTextField },
               { u"FTPFolder"_s, m_folderTextField } } };
}

void PreferencesController::setField(QLineEdit*& member, QLineEdit* field)
{
    disconnect(member, nullptr, this, nullptr);
    member = field;
    connectFields();
}

void PreferencesController::connectFields()
{
    // One field may stand at several places.
    for (const QLineEdit* field : { m_addressTextField, m_folderTextField }) {
        connect(field, &QLineEdit::textChanged, this, &PreferencesController::showDestination, Qt::UniqueConnection);
    }
    for (const auto& [key, field] : fields()) {
        connect(field, &QLineEdit::textChanged, this, &PreferencesController::clearTest, Qt::UniqueConnection);
    }
}

void PreferencesController::fillFields()
{
    for (const auto& [key, field] : fields()) {
        const QString setting = m_defaults.string(key);
        field->setText(setting);
        m_filled.insert(key, { .setting = setting, .text = field->text() });
    }
    m_filledOpenDownloadedFiles = m_defaults.boolean(openDownloadedFiles).value_or(false);
    m_ui->openDownloadedFilesCheckBox->setChecked(m_filledOpenDownloadedFiles);
    m_filledEncryption = encryptionSetting(m_defaults);
    (m_filledEncryption == FTPEncryption::None ? m_ui->noEncryptionButton : m_ui->requiredEncryptionButton)
        ->setChecked(true);
    m_ui->showPasswordButton->setChecked(false);
    showDestination();
}

void PreferencesController::doneButton()
{
    const QHash<QString, QJsonValue> values = changes();
    if (!values.isEmpty() && !m_defaults.store(values)) {
        SheetQueue::of(*m_view).raise(
            { .title = u"Settings Not Saved"_s,
              .text = u"The settings could not be written to “%1”."_s.arg(m_defaults.filePath()) });
        return;
    }
    m_view->accept();
    m_application.updateWindowTitleAndList();
    const QString folder = orRoot(m_folderTextField->text());
    if (folder != m_savedFTPFolder) {
        ShowAlertAfterDelay(u"Base URL Changed"_s,
                            u"The URL changed from\n\n%1\n\nto\n\n%2\n\nBe sure to update the relative URL name of "
                            "copies of this app."_s.arg(m_savedFTPFolder, folder));
    }
}

QHash<QString, QJsonValue> PreferencesController::changes() const
{
    QHash<QString, QJsonValue> values;
    bool isEdited = false;
    for (const auto& [key, field] : fields()) {
        // Compared by text: not every way of changing a field marks it as modified.
        const Filled filled = m_filled.value(key);
        const bool isFieldEdited = field->text() != filled.text;
        isEdited = isEdited || isFieldEdited;
        const QString wanted = isFieldEdited ? field->text() : filled.setting;
        const QString present = m_defaults.string(key);
        if (wanted != present || wanted.isNull() != present.isNull()) {
            values.insert(key, wanted.isNull() ? QJsonValue() : QJsonValue(wanted));
        }
    }
    // Like the fields: what the panel shows holds, also when another program has changed it meanwhile.
    isEdited = isEdited || wantedEncryption() != m_filledEncryption;
    if (wantedEncryption() != encryptionSetting(m_defaults)) {
        values.insert(encryptionKey(), encryptionValue(wantedEncryption()));
    }
    if (!isEdited) {
        values.clear();
    }
    const bool opens = m_ui->openDownloadedFilesCheckBox->isChecked();
    if (opens != m_filledOpenDownloadedFiles) {
        values.insert(openDownloadedFiles, opens);
    }
    return values;
}

QString PreferencesController::destination() const
{
    return m_application.destinationFor(m_addressTextField->text(), m_folderTextField->text());
}

void PreferencesController::showDestination()
{
    const QString location = destination();
    const bool isNowhere = location.isNull();
    m_ui->destinationLabel->setText(isNowhere ? u"No destination"_s : u"Files go to %1"_s.arg(location));
    m_ui->adviceLabel->setText(isNowhere ? addressAdvice(m_addressTextField->text()) : QString());
    setEnabledKeepingFocus(*m_ui->testButton, !isNowhere, *m_addressTextField);
    showWhetherTrusted();
}

FTPEncryption PreferencesController::wantedEncryption() const
{
    return m_ui->requiredEncryptionButton->isChecked() ? FTPEncryption::Required : FTPEncryption::None;
}

void PreferencesController::showEncryption()
{
    m_ui->encryptionNoteLabel->setText(
        wantedEncryption() == FTPEncryption::None
            ? u"The password and the files travel in clear: whoever can listen on the way to the server can read them."_s
            : u"The password and the files travel encrypted (TLS). A server that cannot do that is told neither."_s);
}

void PreferencesController::showWhetherTrusted()
{
    const QString location = destination();
    setEnabledKeepingFocus(*m_ui->forgetCertificateButton,
                           !location.isNull() && m_application.trustsCertificate(location), *m_addressTextField);
}

void PreferencesController::forgetCertificate()
{
    if (!m_application.forgetCertificate(destination())) {
        SheetQueue::of(*m_view).raise({ .title = u"Certificate Not Forgotten"_s,
                                        .text = u"The list of trusted certificates could not be written. It is beside "
                                                "“%1”."_s.arg(m_defaults.filePath()) });
    }
    showWhetherTrusted();
}

void PreferencesController::startOrStopTest()
{
    if (m_connectionTest != nullptr) {
        endTest();
        m_ui->testResultLabel->setText(u"The test was stopped."_s);
        return;
    }
    clearTest();
    m_connectionTest
        = m_application.startConnectionTest({ .location = destination(),
                                              .userName = m_usernameTextField->text(),
                                              .password = m_passwordTextField->text(),
                                              .encryption = wantedEncryption() },
                                            [this](const FTPConnectionTestReport& report) { showTest(report); });
    if (m_connectionTest != nullptr) {
        m_ui->testButton->setText(u"Stop &Test"_s);
        showTest({});
    }
}

void PreferencesController::showTest(const FTPConnectionTestReport& report)
{
    m_ui->testResultLabel->setText(connectionTestText(report));
    m_ui->testReplyLabel->setText(report.reply.isEmpty() ? QString()
                                                         : u"The server said: %1"_s.arg(visibleText(report.reply)));
    showWhetherTrusted(); // The question about a certificate may have been answered.
    if (isEnd(report.state)) {
        endTest();
    }
}

void PreferencesController::endTest()
{
    m_connectionTest.reset();
    m_ui->testButton->setText(u"&Test Connection"_s);
}

void PreferencesController::clearTest()
{
    endTest();
    m_ui->testResultLabel->clear();
    m_ui->testReplyLabel->clear();
}

void PreferencesController::showPassword(bool isShown)
{
    m_passwordTextField->setEchoMode(isShown ? QLineEdit::Normal : QLineEdit::Password);
    // Shown, it is still nothing that an input method should learn or correct.
    m_passwordTextField->setInputMethodHints(m_passwordTextField->inputMethodHints() | Qt::ImhSensitiveData
                                             | Qt::ImhNoPredictiveText | Qt::ImhNoAutoUppercase);
}

QString PreferencesController::UUIDString() const
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}
