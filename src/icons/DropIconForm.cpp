#include "DropIconForm.h"

#include "IconDestination.h"
#include "IconServerForm.h"
#include "IconSettings.h"
#include "IconText.h"
#include "LabelAlignment.h"
#include "ScreenRoom.h"
#include "ServerForm.h"
#include "SettingsAlert.h"
#include "SheetQueue.h"
#include "UserDefaults.h"
#include "VisibleText.h"
#include "WholeButtons.h"
#include "ui_DropIconForm.h"

#include <QPixmap>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int viewEdge = 48;

struct NamedColour {
    const char* name;
    const char* colour;
};
constexpr std::array colours{
    NamedColour{ "Red", "#c01c28" },   NamedColour{ "Orange", "#e66100" }, NamedColour{ "Yellow", "#f5c211" },
    NamedColour{ "Green", "#26a269" }, NamedColour{ "Blue", "#1c71d8" },   NamedColour{ "Purple", "#813d9c" },
    NamedColour{ "Grey", "#77767b" },
};

/// The settings that @p icon has, or an empty file's for a new one.
std::unique_ptr<UserDefaults> settingsOf(const std::optional<DropIcons::Icon>& icon)
{
    if (!icon) {
        return std::make_unique<UserDefaults>(QString());
    }
    const QString fileName = IconName::fileName(icon->name);
    return icon->sort == IconSort::OwnServer ? IconSettings::open(fileName)
                                             : std::make_unique<UserDefaults>(IconSettings::filePath(fileName));
}

QPixmap swatch(const QString& colour)
{
    QPixmap pixmap(14, 14);
    pixmap.fill(QColor(colour));
    return pixmap;
}

} // namespace

DropIconForm::DropIconForm(DropIcons icons, Application application, std::optional<DropIcons::Icon> icon,
                           QWidget* parent)
    : QDialog(parent)
    , m_icons(std::move(icons))
    , m_application(std::move(application))
    , m_icon(std::move(icon))
    , m_settings(settingsOf(m_icon))
    , m_ui(std::make_unique<Ui::DropIconForm>())
    , m_server(new IconServerForm(m_application.server, this))
{
    m_ui->setupUi(this);
    setWindowModality(Qt::WindowModal);
    setWindowTitle(m_icon ? u"Edit Drop Icon"_s : u"New Drop Icon"_s);
    m_ui->saveIconButton->setText(m_icon ? u"Sa&ve"_s : u"&Create"_s);
    keepButtonsWhole(*this);
    m_ui->onDesktopCheckBox->setVisible(m_icons.hasDesktop());
    m_ui->serverRows->addWidget(m_server);
    setTabOrder(m_ui->ownServerButton, m_server);
    m_ui->colourBox->addItem(u"No colour"_s, QString());
    for (const NamedColour& entry : colours) {
        const QString colour = QString::fromLatin1(entry.colour);
        m_ui->colourBox->addItem(swatch(colour), QString::fromLatin1(entry.name), colour);
    }
    fill();
    connectFields();
    explain();
    showPicture();
    alignLabelsToDirection(*this);
    makeRoom();
}

DropIconForm::~DropIconForm() = default;

void DropIconForm::fill()
{
    m_server->fill(*m_settings);
    if (!m_icon) {
        return;
    }
    m_settings->setOpenFileHandler([this](PrivateFile::Access access) {
        const SettingsAlert alert = SettingsAlert::open(m_settings->filePath(), access);
        SheetQueue::of(*this).raise({ .title = alert.title, .text = alert.text });
    });
    m_settings->setBrokenFileHandler([this] {
        const SettingsAlert alert = SettingsAlert::iconBroken(*m_settings);
        SheetQueue::of(*this).raise({ .title = alert.title, .text = alert.text });
    });
    m_ui->nameTextField->setText(m_icon->name);
    m_ui->onDesktopCheckBox->setChecked(m_icon->isOnDesktop);
    m_ui->lettersTextField->setText(m_icon->picture.letters);
    if (m_ui->colourBox->findData(m_icon->picture.colour) < 0) { // Somebody has written another one by hand.
        m_ui->colourBox->addItem(swatch(m_icon->picture.colour), m_icon->picture.colour, m_icon->picture.colour);
    }
    m_ui->colourBox->setCurrentIndex(m_ui->colourBox->findData(m_icon->picture.colour));
    m_ui->ownServerButton->setChecked(m_icon->sort == IconSort::OwnServer);
    m_application.askWhetherRuns(IconName::fileName(m_icon->name), this,
                                 [this](std::optional<bool> isRunning) { showRunning(isRunning); });
}

void DropIconForm::connectFields()
{
    connect(m_ui->nameTextField, &QLineEdit::textChanged, this, &DropIconForm::explain);
    connect(m_ui->ownServerButton, &QRadioButton::toggled, this, [this] {
        explain();
        makeRoom();
    });
    connect(&m_server->server(), &ServerForm::destinationShown, this, &DropIconForm::explain);
    connect(m_ui->colourBox, &QComboBox::currentIndexChanged, this, &DropIconForm::showPicture);
    connect(m_ui->lettersTextField, &QLineEdit::textChanged, this, [this](const QString& text) {
        if (const QString letters = firstLetters(text); letters != text) {
            m_ui->lettersTextField->setText(letters); // Which comes back here.
        } else {
            showPicture();
        }
    });
    connect(m_ui->cancelIconButton, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_ui->saveIconButton, &QPushButton::clicked, this, &QDialog::accept);
}

/// For what the form shows of a server, or no longer shows. The fields become as wide as the screen allows without
/// scrolling sideways.
void DropIconForm::makeRoom()
{
    ServerForm& server = m_server->server();
    const int wanted = server.preferredFieldWidth();
    server.setFieldWidth(wanted);
    layOut();
    server.setFieldWidth(std::max(0, wanted - excessWidth(*this)));
    layOut();
    resizeToContents(*this);
}

void DropIconForm::layOut()
{
    m_server->layout()->activate();
    m_ui->serverRows->activate();
    m_ui->pageGrid->activate();
    m_ui->pageArea->updateGeometry();
    layout()->activate();
}

IconSort DropIconForm::sort() const
{
    return m_ui->ownServerButton->isChecked() ? IconSort::OwnServer : IconSort::SubFolder;
}

IconPicture DropIconForm::picture() const
{
    const QString colour = m_ui->colourBox->currentData().toString();
    const QString letters = m_ui->lettersTextField->text().trimmed();
    return { .colour = colour.isEmpty() ? QString() : colour, .letters = letters.isEmpty() ? QString() : letters };
}

DropIcons::Wish DropIconForm::wish() const
{
    DropIcons::Wish wish{ .name = m_ui->nameTextField->text(),
                          .sort = sort(),
                          .onDesktop = m_ui->onDesktopCheckBox->isChecked(),
                          .picture = picture() };
    const QHash<QString, QJsonValue> changes = m_server->changes(*m_settings);
    const bool hadOwnServer = m_icon && m_icon->sort == IconSort::OwnServer;
    if (sort() == IconSort::OwnServer && (!hadOwnServer || !changes.isEmpty())) {
        wish.server = m_settings->values();
        for (auto change = changes.cbegin(); change != changes.cend(); ++change) {
            if (change->isNull()) {
                wish.server->remove(change.key());
            } else {
                wish.server->insert(change.key(), *change);
            }
        }
    }
    return wish;
}

bool DropIconForm::changesIdentity() const
{
    return m_icon && (m_ui->nameTextField->text() != m_icon->name || sort() != m_icon->sort);
}

bool DropIconForm::canBeStored() const
{
    return IconName::canBeMade(IconName::judge(m_ui->nameTextField->text(), sort()))
        && (!wish().server || !m_server->destination().isNull());
}

void DropIconForm::explain()
{
    const QString name = m_ui->nameTextField->text();
    const bool hasOwnServer = sort() == IconSort::OwnServer;
    const bool canBeMade = IconName::canBeMade(IconName::judge(name, sort()));
    m_ui->serverArea->setVisible(hasOwnServer);
    m_ui->destinationLabel->setVisible(!hasOwnServer); // The server's form says that itself.
    m_ui->destinationLabel->setText(
        canBeMade ? IconText::destination(destinationOf({ .name = name }), UserDefaults::standard().isReadable())
                  : QString());
    const bool losesServer = m_icon && m_icon->sort == IconSort::OwnServer && !hasOwnServer && canBeMade;
    m_ui->explanationLabel->setText(IconText::explanation(name, sort())
                                    + (losesServer ? u' ' + IconText::settingsLost(*m_icon) : QString()));
    m_ui->failureLabel->setText(m_icon ? IconText::running(m_icon->name, m_isRunning) : QString());
    m_ui->saveIconButton->setEnabled(canBeStored());
}

void DropIconForm::showPicture()
{
    const double ratio = devicePixelRatioF();
    QPixmap pixmap = QPixmap::fromImage(drawn(picture(), static_cast<int>(std::lround(viewEdge * ratio))));
    pixmap.setDevicePixelRatio(ratio);
    m_ui->pictureView->setPixmap(pixmap);
}

void DropIconForm::showRunning(std::optional<bool> isRunning)
{
    m_isRunning = isRunning;
    const bool mayChange = !isRunning.value_or(false);
    m_ui->nameTextField->setEnabled(mayChange);
    m_ui->subFolderButton->setEnabled(mayChange);
    m_ui->ownServerButton->setEnabled(mayChange);
    explain();
}

void DropIconForm::accept()
{
    if (!canBeStored()) {
        return;
    }
    if (!changesIdentity()) {
        store();
        return;
    }
    m_application.askWhetherRuns(IconName::fileName(m_icon->name), this, [this](std::optional<bool> isRunning) {
        if (isRunning.value_or(false)) { // By now.
            m_ui->nameTextField->setText(m_icon->name);
            m_ui->subFolderButton->setChecked(m_icon->sort == IconSort::SubFolder);
            m_ui->ownServerButton->setChecked(m_icon->sort == IconSort::OwnServer);
            showRunning(true);
        } else {
            store();
        }
    });
}

void DropIconForm::store()
{
    const DropIcons::Wish wanted = wish();
    const DropIcons::Outcome outcome = m_icon ? m_icons.change(*m_icon, wanted) : m_icons.make(wanted);
    if (outcome == DropIcons::Outcome::Made) {
        emit stored(wanted.name, !m_icon, wanted.onDesktop);
        QDialog::accept();
        return;
    }
    const QList<DropIcons::Icon> all = m_icons.icons();
    const bool isListed = std::ranges::find(all, wanted.name, &DropIcons::Icon::name) != all.end();
    m_ui->failureLabel->setText(IconText::failure(outcome, isListed));
}
