#include "PreferencesController.h"

#include "AddressAdvice.h"
#include "BringToFront.h"
#include "ConnectionTestControls.h"
#include "DelayedAlert.h"
#include "DrawnIcons.h"
#include "DroppedFolders.h"
#include "EncryptionSetting.h"
#include "FocusKeeping.h"
#include "LabelAlignment.h"
#include "ScreenRoom.h"
#include "SettingNames.h"
#include "SheetQueue.h"
#include "UserDefaults.h"
#include "WholeButtons.h"
#include "ui_Preferences.h"

#include <QStyle>
#include <QUuid>

#include <algorithm>
#include <initializer_list>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int widthInCharacters = 60; ///< Of the fields.

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
    m_ui->showPasswordButton->setIcon(drawnEyeIcon());
    // In the desktop's order.
    m_ui->preferencesButtons->addButton(m_ui->doneButton, QDialogButtonBox::AcceptRole);
    m_ui->preferencesButtons->addButton(m_ui->cancelButton, QDialogButtonBox::RejectRole);
    fitToFont();
    alignLabelsToDirection(*m_view);
    connect(m_ui->doneButton, &QPushButton::clicked, this, &PreferencesController::doneButton);
    connect(m_ui->cancelButton, &QPushButton::clicked, m_view.get(), &QDialog::reject);
    connect(m_ui->showPasswordButton, &QPushButton::toggled, this, &PreferencesController::showPassword);
    makeTest();
    connectFields();
    connect(m_ui->requiredEncryptionButton, &QRadioButton::toggled, this, &PreferencesController::clearTest);
    connect(m_view.get(), &QDialog::finished, this, &PreferencesController::clearTest);
    connect(m_ui->requiredEncryptionButton, &QRadioButton::toggled, this, &PreferencesController::showEncryption);
    connect(m_ui->useEncryptionButton, &QPushButton::clicked, this, &PreferencesController::useEncryption);
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
        m_ui->pages->setCurrentWidget(m_ui->serverPage);
        m_addressTextField->setFocus();
        m_view->show();
        const bool isDoneFirst
            = (m_ui->doneButton->x() < m_ui->cancelButton->x()) != m_ui->preferencesButtons->isRightToLeft();
        isDoneFirst ? QWidget::setTabOrder(m_ui->doneButton, m_ui->cancelButton)
                    : QWidget::setTabOrder(m_ui->cancelButton, m_ui->doneButton);
        viewDidAppear();
    }
    bringToFront(*m_view);
}

void PreferencesController::viewDidAppear()
{
    m_savedFTPFolder = orRoot(m_defaults.string(SettingNames::ftpFolder));
}

std::array<std::pair<QString, QLineEdit*>, 4> PreferencesController::fields() const
{
    return { { { SettingNames::address, m_addressTextField },
               { SettingNames::username, m_usernameTextField },
               { SettingNames::password, m_passwordTextField },
               { SettingNames::ftpFolder, m_folderTextField } } };
}

std::array<PreferencesController::Choice, 3> PreferencesController::choices() const
{
    return { { { SettingNames::openDownloadedFiles, false, m_ui->openDownloadedFilesCheckBox },
               { SettingNames::keepHistory, true, m_ui->keepHistoryCheckBox },
               { SettingNames::retryFailedFiles, false, m_ui->retryFailedFilesCheckBox } } };
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
        field->setCursorPosition(0); // One that is longer than its field shows how it begins.
        m_filled.insert(key, { .setting = setting, .text = field->text() });
    }
    m_filledWebAddress = m_defaults.string(SettingNames::webAddress);
    m_ui->webAddressTextField->setText(m_filledWebAddress);
    for (const Choice& choice : choices()) {
        const bool isChosen = m_defaults.boolean(choice.key).value_or(choice.isAbsentChosen);
        choice.box->setChecked(isChosen);
        m_filledChoices.insert(choice.key, isChosen);
    }
    m_filledDroppedFolders = DroppedFolders::areUploaded(m_defaults);
    m_ui->droppedFoldersBox->setCurrentIndex(m_filledDroppedFolders ? 1 : 0);
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
        values.insert(SettingNames::encryption, encryptionValue(wantedEncryption()));
    }
    if (!isEdited) {
        values.clear();
    }
    for (const Choice& choice : choices()) {
        if (const bool isChosen = choice.box->isChecked(); isChosen != m_filledChoices.value(choice.key)) {
            values.insert(choice.key, isChosen);
        }
    }
    const bool areFoldersUploaded = m_ui->droppedFoldersBox->currentIndex() == 1;
    if (areFoldersUploaded != m_filledDroppedFolders) {
        values.insert(SettingNames::droppedFolders, DroppedFolders::value(areFoldersUploaded));
    }
    const QString webAddress = m_ui->webAddressTextField->text();
    if (webAddress != m_filledWebAddress) {
        values.insert(SettingNames::webAddress, webAddress.isEmpty() ? QJsonValue() : QJsonValue(webAddress));
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
    m_ui->adviceLabel->setText(isNowhere ? addressAdvice(m_addressTextField->text())
                                         : u"Its name or IP address, and “:” with a port other than 21."_s);
    setVisibleKeepingFocus(*m_ui->useEncryptionButton, !addressWithoutFtps(m_addressTextField->text()).isNull(),
                           *m_addressTextField);
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
                           !location.isNull() && m_application.trustsCertificate(location),
                           *m_ui->openDownloadedFilesCheckBox);
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

void PreferencesController::makeTest()
{
    const ConnectionTestControls::Widgets widgets{ .testButton = *m_ui->testButton,
                                                   .createFolderButton = *m_ui->createFolderButton,
                                                   .outcomeIcon = *m_ui->testOutcomeIcon,
                                                   .resultLabel = *m_ui->testResultLabel,
                                                   .replyLabel = *m_ui->testReplyLabel };
    const auto start = [this](bool createsFolder, FTPConnectionTestHandler handler) {
        return m_application.startConnectionTest({ .location = destination(),
                                                   .userName = m_usernameTextField->text(),
                                                   .password = m_passwordTextField->text(),
                                                   .encryption = wantedEncryption(),
                                                   .createsFolder = createsFolder },
                                                 std::move(handler));
    };
    m_test = std::make_unique<ConnectionTestControls>(widgets, start);
    // The question about a certificate may have been answered.
    connect(m_test.get(), &ConnectionTestControls::reported, this, &PreferencesController::showWhetherTrusted);
    connect(m_test.get(), &ConnectionTestControls::reported, this, &PreferencesController::testReported);
    connect(m_test.get(), &ConnectionTestControls::reported, this, [this] {
        m_ui->testAnswerLayout->activate(); // Its last line has moved.
        for (QWidget* part : std::initializer_list<QWidget*>{ m_ui->testReplyLabel, m_ui->createFolderButton }) {
            if (part->isVisible()) {
                m_ui->serverPage->ensureWidgetVisible(part, 0, 0);
            }
        }
    });
}

bool PreferencesController::isTesting() const
{
    return m_test->isRunning();
}

void PreferencesController::clearTest()
{
    m_test->clear();
}

void PreferencesController::useEncryption()
{
    m_addressTextField->setText(addressWithoutFtps(m_addressTextField->text()));
    m_ui->requiredEncryptionButton->setChecked(true);
}

/// Makes the fields @p wanted wide, or as wide as the screen allows without scrolling sideways, and answers how wide.
int PreferencesController::fitWidth(int wanted)
{
    keepButtonsWhole(*m_view);
    m_ui->usernameTextField->setMinimumWidth(wanted);
    layOut();
    const int width = std::max(0, wanted - excessWidth(*m_view));
    m_ui->usernameTextField->setMinimumWidth(width);
    return width;
}

/// The pages, and what is around them, have the sizes from before in mind else.
void PreferencesController::layOut()
{
    for (const QScrollArea* page : std::initializer_list<QScrollArea*>{ m_ui->serverPage, m_ui->morePage }) {
        page->widget()->layout()->activate();
    }
    for (QWidget* holder : std::initializer_list<QWidget*>{ m_ui->serverPage, m_ui->morePage, m_ui->pages }) {
        holder->updateGeometry();
    }
}

/// Leaves room for all that the panel may come to say, so that nothing moves when it says it.
void PreferencesController::fitToFont()
{
    const QFontMetrics font = m_view->fontMetrics();
    const int width = fitWidth(widthInCharacters * font.averageCharWidth());
    const auto heightOf = [&](int usualLines) {
        const int characters = std::max(1, width / font.averageCharWidth());
        return (usualLines * widthInCharacters + characters - 1) / characters * font.lineSpacing();
    };
    m_ui->adviceLabel->setFixedHeight(heightOf(1));
    m_ui->encryptionNoteLabel->setFixedHeight(heightOf(2));
    m_ui->testAnswer->setFixedHeight(heightOf(5));
    const QStyle& style = *m_view->style();
    for (QLabel* note : { m_ui->openDownloadedFilesNote, m_ui->keepHistoryNote, m_ui->retryFailedFilesNote }) {
        note->setIndent(style.pixelMetric(QStyle::PM_IndicatorWidth)
                        + style.pixelMetric(QStyle::PM_CheckBoxLabelSpacing));
    }
    for (const auto& [control, note] : std::initializer_list<std::pair<QWidget*, const QLabel*>>{
             { m_ui->openDownloadedFilesCheckBox, m_ui->openDownloadedFilesNote },
             { m_ui->keepHistoryCheckBox, m_ui->keepHistoryNote },
             { m_ui->retryFailedFilesCheckBox, m_ui->retryFailedFilesNote },
             { m_ui->webAddressTextField, m_ui->webAddressNote },
             { m_ui->forgetCertificateButton, m_ui->forgetCertificateNote } }) {
        control->setAccessibleDescription(note->text()); // Screen readers come by the controls only.
    }
    layOut();
    resizeToContents(*m_view);
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
