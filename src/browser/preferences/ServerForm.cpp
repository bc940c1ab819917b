#include "ServerForm.h"

#include "AddressAdvice.h"
#include "ConnectionTestControls.h"
#include "DrawnIcons.h"
#include "EncryptionSetting.h"
#include "FocusKeeping.h"
#include "SettingNames.h"
#include "URLText.h"
#include "UserDefaults.h"
#include "ui_ServerForm.h"

#include <QScrollArea>

#include <algorithm>
#include <initializer_list>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int widthInCharacters = 60; ///< Of the fields.

/// Scrolls the area that @p part is on, if any, to where it can be seen.
void bringIntoSight(QWidget& part)
{
    for (QWidget* widget = part.parentWidget(); widget != nullptr; widget = widget->parentWidget()) {
        if (auto* const area = qobject_cast<QScrollArea*>(widget)) {
            area->ensureWidgetVisible(&part, 0, 0);
        }
    }
}

} // namespace

ServerForm::ServerForm(QWidget* parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::ServerForm>())
{
    m_ui->setupUi(this);
    m_fields = { m_ui->addressTextField, m_ui->usernameTextField, m_ui->passwordTextField, m_ui->folderTextField };
    m_ui->showPasswordButton->setIcon(drawnEyeIcon());
    connect(m_ui->showPasswordButton, &QPushButton::toggled, this, &ServerForm::showPassword);
    makeTest();
    connectFields();
    connect(m_ui->requiredEncryptionButton, &QRadioButton::toggled, this, &ServerForm::clearTest);
    connect(m_ui->requiredEncryptionButton, &QRadioButton::toggled, this, &ServerForm::showEncryption);
    connect(m_ui->useEncryptionButton, &QPushButton::clicked, this, &ServerForm::useEncryption);
    showEncryption();
}

ServerForm::~ServerForm() = default;

void ServerForm::setAccess(ServerAccess access)
{
    m_access = std::move(access);
}

std::array<std::pair<QString, QLineEdit*>, 4> ServerForm::keyedFields() const
{
    return { { { SettingNames::address, m_fields.address },
               { SettingNames::username, m_fields.username },
               { SettingNames::password, m_fields.password },
               { SettingNames::ftpFolder, m_fields.folder } } };
}

void ServerForm::setFields(const Fields& fields)
{
    for (const auto& [key, field] : keyedFields()) {
        disconnect(field, nullptr, this, nullptr);
    }
    m_fields = fields;
    connectFields();
}

void ServerForm::connectFields()
{
    for (const QLineEdit* field : { m_fields.address, m_fields.folder }) {
        connect(field, &QLineEdit::textChanged, this, &ServerForm::showDestination, Qt::UniqueConnection);
    }
    for (const auto& [key, field] : keyedFields()) {
        connect(field, &QLineEdit::textChanged, this, &ServerForm::clearTest, Qt::UniqueConnection);
    }
}

void ServerForm::fill(const UserDefaults& settings)
{
    for (const auto& [key, field] : keyedFields()) {
        const QString setting = settings.string(key);
        field->setText(setting);
        field->setCursorPosition(0); // One that is longer than its field shows how it begins.
        m_filled.insert(key, { .setting = setting, .text = field->text() });
    }
    m_filledEncryption = encryptionSetting(settings);
    (m_filledEncryption == FTPEncryption::None ? m_ui->noEncryptionButton : m_ui->requiredEncryptionButton)
        ->setChecked(true);
    m_ui->showPasswordButton->setChecked(false);
    showDestination();
}

QHash<QString, QJsonValue> ServerForm::changes(const UserDefaults& settings) const
{
    QHash<QString, QJsonValue> values;
    bool isEdited = false;
    for (const auto& [key, field] : keyedFields()) {
        // Compared by text: not every way of changing a field marks it as modified.
        const Filled filled = m_filled.value(key);
        const bool isFieldEdited = field->text() != filled.text;
        isEdited = isEdited || isFieldEdited;
        const QString wanted = isFieldEdited ? field->text() : filled.setting;
        const QString present = settings.string(key);
        if (wanted != present || wanted.isNull() != present.isNull()) {
            values.insert(key, wanted.isNull() ? QJsonValue() : QJsonValue(wanted));
        }
    }
    // Like the fields: what the form shows holds, also when another program has changed it meanwhile.
    isEdited = isEdited || wantedEncryption() != m_filledEncryption;
    const FTPEncryption wanted = wantedEncryption();
    // A file that cannot be read is replaced: what is known besides what it holds is known no longer then.
    const bool isStored = settings.isReadable() ? wanted == encryptionSetting(settings) : wanted == FTPEncryption::None;
    if (!isStored) {
        values.insert(SettingNames::encryption, encryptionValue(wanted));
    }
    return isEdited ? values : QHash<QString, QJsonValue>();
}

QString ServerForm::destination() const
{
    return m_access.destinationFor(m_fields.address->text(), m_fields.folder->text());
}

void ServerForm::showDestination()
{
    const QString location = destination();
    const bool isNowhere = location.isNull();
    m_ui->destinationLabel->setText(isNowhere ? u"No destination"_s
                                              : u"Files go to %1"_s.arg(URLText::readable(location)));
    m_ui->adviceLabel->setText(isNowhere ? addressAdvice(m_fields.address->text())
                                         : u"Its name or IP address, and “:” with a port other than 21."_s);
    setVisibleKeepingFocus(*m_ui->useEncryptionButton, !addressWithoutFtps(m_fields.address->text()).isNull(),
                           *m_fields.address);
    setEnabledKeepingFocus(*m_ui->testButton, !isNowhere, *m_fields.address);
    emit destinationShown();
}

FTPEncryption ServerForm::wantedEncryption() const
{
    return m_ui->requiredEncryptionButton->isChecked() ? FTPEncryption::Required : FTPEncryption::None;
}

void ServerForm::showEncryption()
{
    m_ui->encryptionNoteLabel->setText(
        wantedEncryption() == FTPEncryption::None
            ? u"The password and the files travel in clear: whoever can listen on the way to the server can read them."_s
            : u"The password and the files travel encrypted (TLS). A server that cannot do that is told neither."_s);
}

void ServerForm::makeTest()
{
    const ConnectionTestControls::Widgets widgets{ .testButton = *m_ui->testButton,
                                                   .createFolderButton = *m_ui->createFolderButton,
                                                   .outcomeIcon = *m_ui->testOutcomeIcon,
                                                   .resultLabel = *m_ui->testResultLabel,
                                                   .replyLabel = *m_ui->testReplyLabel };
    const auto start = [this](bool createsFolder, FTPConnectionTestHandler handler) {
        return m_access.startConnectionTest({ .location = destination(),
                                              .userName = m_fields.username->text(),
                                              .password = m_fields.password->text(),
                                              .encryption = wantedEncryption(),
                                              .createsFolder = createsFolder },
                                            std::move(handler));
    };
    m_test = std::make_unique<ConnectionTestControls>(widgets, start);
    connect(m_test.get(), &ConnectionTestControls::reported, this, &ServerForm::testReported);
    connect(m_test.get(), &ConnectionTestControls::reported, this, &ServerForm::showAnswer);
}

void ServerForm::showAnswer()
{
    m_ui->testAnswerLayout->activate(); // Its last line has moved.
    for (QWidget* part : std::initializer_list<QWidget*>{ m_ui->testReplyLabel, m_ui->createFolderButton }) {
        if (part->isVisible()) {
            bringIntoSight(*part);
        }
    }
}

bool ServerForm::isTesting() const
{
    return m_test->isRunning();
}

void ServerForm::clearTest()
{
    m_test->clear();
}

void ServerForm::useEncryption()
{
    m_fields.address->setText(addressWithoutFtps(m_fields.address->text()));
    m_ui->requiredEncryptionButton->setChecked(true);
}

int ServerForm::preferredFieldWidth() const
{
    return widthInCharacters * fontMetrics().averageCharWidth();
}

void ServerForm::setFieldWidth(int width)
{
    m_ui->usernameTextField->setMinimumWidth(width);
    const QFontMetrics font = fontMetrics();
    const int characters = std::max(1, width / font.averageCharWidth());
    const auto heightOf = [&](int usualLines) {
        return (usualLines * widthInCharacters + characters - 1) / characters * font.lineSpacing();
    };
    m_ui->adviceLabel->setFixedHeight(heightOf(1));
    m_ui->encryptionNoteLabel->setFixedHeight(heightOf(2));
    m_ui->testAnswer->setFixedHeight(heightOf(5));
    layout()->activate();
}

void ServerForm::showPassword(bool isShown)
{
    m_fields.password->setEchoMode(isShown ? QLineEdit::Normal : QLineEdit::Password);
    // Shown, it is still nothing that an input method should learn or correct.
    m_fields.password->setInputMethodHints(m_fields.password->inputMethodHints() | Qt::ImhSensitiveData
                                           | Qt::ImhNoPredictiveText | Qt::ImhNoAutoUppercase);
}
