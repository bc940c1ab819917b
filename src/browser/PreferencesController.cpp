#include "PreferencesController.h"

#include "AddressAdvice.h"
#include "DelayedAlert.h"
#include "SheetQueue.h"
#include "UserDefaults.h"
#include "ui_Preferences.h"

#include <QJsonValue>
#include <QUuid>

using namespace Qt::StringLiterals;

namespace {

const QString openDownloadedFiles = u"OpenDownloadedFiles"_s;

QString orRoot(const QString& folder)
{
    return folder.isEmpty() ? u"/"_s : folder;
}

} // namespace

PreferencesController::PreferencesController(UserDefaults& defaults, Application application, QWidget* parent)
    : m_defaults(defaults)
    , m_application(std::move(application))
    , m_ui(std::make_unique<Ui::Preferences>())
    , m_view(std::make_unique<QDialog>(parent))
{
    m_ui->setupUi(m_view.get());
    m_usernameTextField = m_ui->usernameTextField;
    m_passwordTextField = m_ui->passwordTextField;
    m_addressTextField = m_ui->addressTextField;
    m_folderTextField = m_ui->folderTextField;
    connect(m_ui->doneButton, &QPushButton::clicked, this, &PreferencesController::doneButton);
    connect(m_ui->cancelButton, &QPushButton::clicked, m_view.get(), &QDialog::reject);
    connect(m_ui->showPasswordButton, &QPushButton::toggled, this, &PreferencesController::showPassword);
    for (const QLineEdit* field : { m_addressTextField, m_folderTextField }) {
        connect(field, &QLineEdit::textChanged, this, &PreferencesController::showDestination);
    }
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
    m_view->raise();
    m_view->activateWindow();
}

void PreferencesController::viewDidAppear()
{
    m_savedFTPFolder = orRoot(m_defaults.string(u"FTPFolder"_s));
}

void PreferencesController::fillFields()
{
    m_addressTextField->setText(m_defaults.string(u"Address"_s));
    m_usernameTextField->setText(m_defaults.string(u"Username"_s));
    m_passwordTextField->setText(m_defaults.string(u"Password"_s));
    m_folderTextField->setText(m_defaults.string(u"FTPFolder"_s));
    for (QLineEdit* field : { m_addressTextField, m_usernameTextField, m_passwordTextField, m_folderTextField }) {
        field->setModified(false);
    }
    m_ui->openDownloadedFilesCheckBox->setChecked(m_defaults.boolean(openDownloadedFiles).value_or(false));
    m_ui->showPasswordButton->setChecked(false);
    showDestination();
}

void PreferencesController::doneButton()
{
    if (!storeChanges()) {
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

bool PreferencesController::storeChanges()
{
    QHash<QString, QJsonValue> changes;
    // What was not touched stays as it is: a setting that is absent is not the same as an empty one.
    const auto addIfModified = [&changes](const QString& key, const QLineEdit& field) {
        if (field.isModified()) {
            changes.insert(key, field.text());
        }
    };
    addIfModified(u"Address"_s, *m_addressTextField);
    addIfModified(u"Username"_s, *m_usernameTextField);
    addIfModified(u"Password"_s, *m_passwordTextField);
    addIfModified(u"FTPFolder"_s, *m_folderTextField);
    const bool opens = m_ui->openDownloadedFilesCheckBox->isChecked();
    if (opens != m_defaults.boolean(openDownloadedFiles).value_or(false)) {
        changes.insert(openDownloadedFiles, opens);
    }
    return changes.isEmpty() || m_defaults.store(changes);
}

void PreferencesController::showDestination()
{
    const QString address = m_addressTextField->text();
    const QString destination = m_application.destinationFor(address, m_folderTextField->text());
    m_ui->destinationLabel->setText(destination.isNull() ? addressAdvice(address)
                                                         : u"Files go to %1"_s.arg(destination));
}

void PreferencesController::showPassword(bool isShown)
{
    m_passwordTextField->setEchoMode(isShown ? QLineEdit::Normal : QLineEdit::Password);
}

QString PreferencesController::UUIDString() const
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}
