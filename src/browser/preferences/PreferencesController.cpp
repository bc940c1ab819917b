#include "PreferencesController.h"

#include "BringToFront.h"
#include "DelayedAlert.h"
#include "DestinationSettings.h"
#include "DroppedFolders.h"
#include "LabelAlignment.h"
#include "ScreenRoom.h"
#include "SettingNames.h"
#include "SheetQueue.h"
#include "UserDefaults.h"
#include "VisibleText.h"
#include "WholeButtons.h"
#include "ui_Preferences.h"

#include <QLineEdit>
#include <QStyle>
#include <QUuid>

#include <algorithm>
#include <initializer_list>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

QString orRoot(const QString& folder)
{
    return folder.isEmpty() ? u"/"_s : folder;
}

} // namespace

PreferencesController::PreferencesController(UserDefaults& defaults, UserDefaults& connection, Application application)
    : m_defaults(defaults)
    , m_connection(connection)
    , m_application(std::move(application))
    , m_ui(std::make_unique<Ui::Preferences>())
    , m_view(std::make_unique<QDialog>())
{
    m_ui->setupUi(m_view.get());
    serverForm().setAccess(m_application.server);
    m_ui->serverExtras->setAccess(m_application.server, serverForm());
    // In the desktop's order.
    m_ui->preferencesButtons->addButton(m_ui->doneButton, QDialogButtonBox::AcceptRole);
    m_ui->preferencesButtons->addButton(m_ui->cancelButton, QDialogButtonBox::RejectRole);
    m_ui->ownerLabel->setVisible(isOfIcon());
    if (isOfIcon()) {
        m_view->setWindowTitle(u"Preferences of “%1”"_s.arg(visibleText(DestinationSettings::ourAppName())));
    }
    fitToFont();
    alignLabelsToDirection(*m_view);
    connect(m_ui->doneButton, &QPushButton::clicked, this, &PreferencesController::doneButton);
    connect(m_ui->cancelButton, &QPushButton::clicked, m_view.get(), &QDialog::reject);
    connect(m_view.get(), &QDialog::finished, &serverForm(), &ServerForm::clearTest);
    connect(&serverForm(), &ServerForm::testReported, this, &PreferencesController::testReported);
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
        addressTextField()->setFocus();
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
    m_savedFTPFolder = orRoot(m_connection.string(SettingNames::ftpFolder));
}

ServerForm& PreferencesController::serverForm() const
{
    return *m_ui->serverForm;
}

std::array<PreferencesController::Choice, 4> PreferencesController::choices() const
{
    return { { { SettingNames::openDownloadedFiles, false, m_ui->openDownloadedFilesCheckBox },
               { SettingNames::keepHistory, true, m_ui->keepHistoryCheckBox },
               { SettingNames::retryFailedFiles, false, m_ui->retryFailedFilesCheckBox },
               { SettingNames::askBeforeReplacing, false, m_ui->askBeforeReplacingCheckBox } } };
}

void PreferencesController::setField(QLineEdit* ServerForm::Fields::*member, QLineEdit* field)
{
    ServerForm::Fields fields = serverForm().fields();
    fields.*member = field;
    serverForm().setFields(fields);
}

void PreferencesController::fillFields()
{
    m_ui->serverExtras->fill(m_connection);
    for (const Choice& choice : choices()) {
        const bool isChosen = m_defaults.boolean(choice.key).value_or(choice.isAbsentChosen);
        choice.box->setChecked(isChosen);
        m_filledChoices.insert(choice.key, isChosen);
    }
    m_filledDroppedFolders = DroppedFolders::areUploaded(m_defaults);
    m_ui->droppedFoldersBox->setCurrentIndex(m_filledDroppedFolders ? 1 : 0);
    serverForm().fill(m_connection);
}

void PreferencesController::doneButton()
{
    if (const UserDefaults* const unstored = store(); unstored != nullptr) {
        SheetQueue::of(*m_view).raise(
            { .title = u"Settings Not Saved"_s,
              .text = u"The settings could not be written to “%1”."_s.arg(visibleText(unstored->filePath())) });
        return;
    }
    m_view->accept();
    m_application.updateWindowTitleAndList();
    const QString folder = orRoot(folderTextField()->text());
    if (folder != m_savedFTPFolder && !isOfIcon()) { // Nobody else's folder hangs on an icon's own.
        ShowAlertAfterDelay(u"Base URL Changed"_s,
                            u"The URL changed from\n\n%1\n\nto\n\n%2\n\nBe sure to update the relative URL name of "
                            "copies of this app."_s.arg(m_savedFTPFolder, folder));
    }
}

const UserDefaults* PreferencesController::store()
{
    QHash<QString, QJsonValue> connection = connectionChanges();
    QHash<QString, QJsonValue> others = otherChanges();
    if (!isOfIcon()) {
        others.insert(std::exchange(connection, {})); // In one step.
    }
    if (!others.isEmpty() && !m_defaults.store(others)) {
        return &m_defaults;
    }
    return connection.isEmpty() || m_connection.store(connection) ? nullptr : &m_connection;
}

QHash<QString, QJsonValue> PreferencesController::connectionChanges() const
{
    QHash<QString, QJsonValue> values = serverForm().changes(m_connection);
    values.insert(m_ui->serverExtras->changes());
    return values;
}

QHash<QString, QJsonValue> PreferencesController::otherChanges() const
{
    QHash<QString, QJsonValue> values;
    for (const Choice& choice : choices()) {
        if (const bool isChosen = choice.box->isChecked(); isChosen != m_filledChoices.value(choice.key)) {
            values.insert(choice.key, isChosen);
        }
    }
    const bool areFoldersUploaded = m_ui->droppedFoldersBox->currentIndex() == 1;
    if (areFoldersUploaded != m_filledDroppedFolders) {
        values.insert(SettingNames::droppedFolders, DroppedFolders::value(areFoldersUploaded));
    }
    return values;
}

bool PreferencesController::isTesting() const
{
    return serverForm().isTesting();
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

/// Makes the fields as wide as they would like to be, or as the screen allows without scrolling sideways.
void PreferencesController::fitToFont()
{
    keepButtonsWhole(*m_view);
    const int wanted = serverForm().preferredFieldWidth();
    serverForm().setFieldWidth(wanted);
    layOut();
    serverForm().setFieldWidth(std::max(0, wanted - excessWidth(*m_view)));
    const QStyle& style = *m_view->style();
    for (QLabel* note : { m_ui->openDownloadedFilesNote, m_ui->keepHistoryNote, m_ui->retryFailedFilesNote,
                          m_ui->askBeforeReplacingNote }) {
        note->setIndent(style.pixelMetric(QStyle::PM_IndicatorWidth)
                        + style.pixelMetric(QStyle::PM_CheckBoxLabelSpacing));
    }
    for (const auto& [control, note] : std::initializer_list<std::pair<QWidget*, const QLabel*>>{
             { m_ui->openDownloadedFilesCheckBox, m_ui->openDownloadedFilesNote },
             { m_ui->keepHistoryCheckBox, m_ui->keepHistoryNote },
             { m_ui->retryFailedFilesCheckBox, m_ui->retryFailedFilesNote },
             { m_ui->askBeforeReplacingCheckBox, m_ui->askBeforeReplacingNote } }) {
        control->setAccessibleDescription(note->text()); // Screen readers come by the controls only.
    }
    layOut();
    resizeToContents(*m_view);
}

QString PreferencesController::UUIDString() const
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}
