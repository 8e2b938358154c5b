#include "app/MainWindow.h"

#include "app/BezelButton.h"
#include "app/BridgeController.h"
#include "app/BusyMark.h"
#include "app/ButtonMeaning.h"
#include "app/ChannelTable.h"
#include "app/Desktop.h"
#include "app/ElidedLabel.h"
#include "app/HostMenu.h"
#include "app/Look.h"
#include "app/NoticeRow.h"
#include "app/PushButton.h"

#include <QApplication>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QMenuBar>
#include <QScreen>
#include <QStyle>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace corvane {

namespace {

// Sizes in points

constexpr int contentWidth = 760;
constexpr int maximumContentHeight = 650;
constexpr int menuBarHeight = 24;
constexpr int sideMargin = 20;
constexpr int endMargin = 18;
constexpr int hostSpacing = 12;
constexpr int iconPoints = 38;
constexpr int popupWidth = 340;
constexpr int fieldsHeight = 58;
constexpr int fieldsWidth = 500;
constexpr int fieldHeight = 26;

/// A search for consoles that takes longer than this deserves advice.
constexpr std::chrono::seconds searchHintDelay{15};

constexpr auto waitingForSync = "PATCH LV1 · waiting for sync  ▸";
// In Spanish: see docs/Names.md.
constexpr auto searchingItem = "Buscando en la red SoundGrid…";
constexpr auto subtitleText = "ONLINE INTEGRATION · PATCH / NAMES / COLORS";

void setTextColor(QWidget &widget, const QColor &color) {
    QPalette palette = widget.palette();
    palette.setColor(QPalette::WindowText, color);
    widget.setPalette(palette);
}

QLabel *label(const char *text, int points, const QColor &color, QFont::Weight weight = QFont::Normal) {
    auto *made = new QLabel(QString::fromUtf8(text));
    made->setFont(look::font(points, weight));
    setTextColor(*made, color);
    return made;
}

/// Of all that the holder has room for, but for the margins.
template <class Layout>
Layout *layoutOf(QWidget *holder, int spacing, const QMargins &margins = {}) {
    auto *layout = new Layout(holder);
    layout->setContentsMargins(margins);
    layout->setSpacing(spacing);
    return layout;
}

QLabel *caption(const char *text, int points, const QColor &color, QWidget *of) {
    QLabel *made = label(text, points, color);
    made->setBuddy(of);
    return made;
}

QFrame *separator() {
    auto *line = new QFrame;
    line->setObjectName(QStringLiteral("separator"));
    line->setFixedHeight(1);
    return line;
}

} // namespace

MainWindow::MainWindow(BundleResources resources, const QString &rehearsalFolder)
    : resources(std::move(resources)), rehearsalFolder(rehearsalFolder),
      status(new ElidedLabel(QStringLiteral("Starting…"), this)),
      scene(new ElidedLabel(QStringLiteral("Scene: —"), this)), devicePopup(new HostMenu(this)),
      connectButton(new BezelButton(QStringLiteral("SYNC LV1"), this)),
      sessionNameField(new QLineEdit(QStringLiteral("LV1 Session"), this)),
      outputPathField(new QLineEdit(this)), chooseButton(new BezelButton(QStringLiteral("Choose…"), this)),
      channelScroll(new QFrame(this)), table(new ChannelTable(channelScroll)),
      patchButton(new PushButton(QString::fromUtf8(waitingForSync), this)),
      syncButton(new BezelButton(QStringLiteral("Create LiveTrax Session"), this)),
      busyMark(new BusyMark(this)), noticeRow(new NoticeRow(this)) {
    nameControls();
}

MainWindow::~MainWindow() = default;

/// Object names for tests and scripts, accessible names for screen readers.
void MainWindow::nameControls() {
    struct Names {
        QWidget *control;
        const char *objectName;
        const char *accessibleName;
    };
    for (const auto &[control, objectName, accessibleName] :
         std::initializer_list<Names>{{this, "window", ""},
                                      {status, "statusLabel", ""}, // labels speak their text
                                      {scene, "sceneLabel", ""},
                                      {devicePopup, "devicePopup", ""}, // its label speaks for it
                                      {connectButton, "connectButton", "SYNC LV1"},
                                      {sessionNameField, "sessionName", "Session name"},
                                      {outputPathField, "outputPath", "Save in folder"},
                                      {chooseButton, "chooseButton", "Choose the folder to save in"},
                                      {table, "table", "LV1 channels"},
                                      {channelScroll, "channelScroll", ""},
                                      {patchButton, "patchButton", ""},
                                      {busyMark, "busyMark", nullptr}, // speaks for itself
                                      {syncButton, "syncButton", "Create LiveTrax Session"}}) {
        control->setObjectName(QString::fromUtf8(objectName));
        if (accessibleName != nullptr)
            control->setAccessibleName(QString::fromUtf8(accessibleName));
    }
}

void MainWindow::buildUI() {
    setWindowTitle(QStringLiteral("Corvane"));
    setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                   Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint |
                   Qt::MSWindowsFixedSizeDialogHint);
    setStyleSheet(look::styleSheet());

    auto *content = new QWidget;
    content->setObjectName(QStringLiteral("content"));
    auto *rows = layoutOf<QVBoxLayout>(content, rowSpacing, {sideMargin, endMargin, sideMargin, endMargin});
    rows->addWidget(headerRow());
    rows->addWidget(subtitle());
    rows->addWidget(separator());
    rows->addWidget(hostRow());
    rows->addLayout(statusRow());
    rows->addWidget(patchButton);
    rows->addWidget(channelScroll);
    rows->addWidget(noticeRoom(), 1);
    rows->addWidget(sessionFields());
    rows->addWidget(bottomRow());
    setCentralWidget(content);

    setTextColor(*status, look::grey(look::statusGrey));
    patchButton->setFont(look::font(12));
    patchButton->setFocusPolicy(Qt::StrongFocus);
    layoutOf<QVBoxLayout>(channelScroll, 0)->addWidget(table);
    channelScroll->hide();

    connectControls();
    setFocusOrder();
    limitSize();
    show();
    bringToFront();
}

void MainWindow::limitSize() {
    const int menu = menuHeight();
    if (menu > 0)
        menuBar()->setFixedHeight(menu);
    setMinimumSize(contentWidth, minimumContentHeight + menu);
    setMaximumSize(contentWidth, maximumContentHeight + menu);
    targetHeight = contentHeight + menu;
    resize(contentWidth, targetHeight);
    if (const QScreen *display = screen()) {
        QRect frame = rect();
        frame.moveCenter(display->availableGeometry().center());
        setGeometry(frame);
    }
}

int MainWindow::menuHeight() const {
    // Asking for the menu bar would make one: on macOS, where the screen has it, that would replace it.
    const auto *bar = qobject_cast<QMenuBar *>(menuWidget());
    return bar == nullptr || bar->isNativeMenuBar() ? 0 : menuBarHeight;
}

QWidget *MainWindow::headerRow() {
    auto *icon = new QLabel;
    icon->setObjectName(QStringLiteral("icon"));
    icon->setFixedSize(iconPoints, iconPoints);
    icon->setPixmap(applicationIcon().pixmap(QSize(iconPoints, iconPoints), devicePixelRatio()));
    auto *holder = new QWidget;
    auto *columns = layoutOf<QHBoxLayout>(holder, 10);
    columns->addWidget(icon);
    columns->addWidget(label("CORVANE", 23, look::grey(0.97), QFont::Bold));
    columns->addWidget(label("for LiveTrax", 23, look::grey(look::captionGrey), QFont::Light));
    columns->addStretch();
    return holder;
}

QLabel *MainWindow::subtitle() {
    QLabel *made = nullptr;
    if (rehearsalFolder.isEmpty()) {
        made = label(subtitleText, 10, look::grey(look::secondaryGrey));
    } else {
        made = new ElidedLabel("REHEARSAL · NO REAL CONSOLE, NO REAL LIVETRAX · " + rehearsalFolder);
        made->setFont(look::font(10, QFont::DemiBold));
        setTextColor(*made, look::color(amberLook));
    }
    made->setObjectName(QStringLiteral("subtitle"));
    return made;
}

QWidget *MainWindow::hostRow() {
    devicePopup->addItem(QString::fromUtf8(searchingItem));
    auto *holder = new QWidget;
    devicePopup->setMinimumWidth(popupWidth);
    auto *columns = layoutOf<QHBoxLayout>(holder, hostSpacing);
    columns->addWidget(caption("LV1 HOST", 11, look::grey(look::statusGrey), devicePopup));
    columns->addWidget(devicePopup, 1);
    columns->addWidget(connectButton);
    return holder;
}

QLayout *MainWindow::statusRow() {
    busyMark->hide();
    auto *columns = layoutOf<QHBoxLayout>(nullptr, 8);
    columns->addWidget(status, 1);
    columns->addWidget(busyMark);
    return columns;
}

/// The free room of the stack. It is there with and without a notice, so that nothing moves when one comes.
QWidget *MainWindow::noticeRoom() {
    auto *room = new QWidget;
    room->setMinimumHeight(NoticeRow::leastHeight);
    layoutOf<QVBoxLayout>(room, 0)->addWidget(noticeRow);
    return room;
}

QWidget *MainWindow::sessionFields() {
    auto *holder = new QWidget;
    holder->setObjectName(QStringLiteral("sessionFields"));
    holder->setFixedHeight(fieldsHeight);
    auto *grid = layoutOf<QGridLayout>(holder, 10);
    grid->setVerticalSpacing(fieldsHeight - 2 * fieldHeight);
    grid->setColumnStretch(2, 1);
    auto *folder = new QWidget;
    auto *folderColumns = layoutOf<QHBoxLayout>(folder, 8);
    folderColumns->addWidget(outputPathField, 1);
    folderColumns->addWidget(chooseButton);
    for (QWidget *field : {static_cast<QWidget *>(sessionNameField), static_cast<QWidget *>(outputPathField),
                           static_cast<QWidget *>(chooseButton)})
        field->setFixedHeight(fieldHeight);
    sessionNameField->setFixedWidth(fieldsWidth);
    folder->setFixedWidth(fieldsWidth);
    const auto captionAlignment = Qt::AlignRight | Qt::AlignVCenter;
    grid->addWidget(caption("Session name:", 13, look::grey(0.9), sessionNameField), 0, 0, captionAlignment);
    grid->addWidget(sessionNameField, 0, 1);
    grid->addWidget(caption("Save in:", 13, look::grey(0.9), outputPathField), 1, 0, captionAlignment);
    grid->addWidget(folder, 1, 1);
    return holder;
}

QWidget *MainWindow::bottomRow() {
    setTextColor(*scene, look::grey(look::captionGrey));
    syncButton->setEnabled(false);
    setCreateMeaning(createMeaning({}));
    auto *holder = new QWidget;
    auto *columns = layoutOf<QHBoxLayout>(holder, 12);
    columns->addWidget(scene, 1);
    columns->addWidget(syncButton);
    return holder;
}

void MainWindow::connectControls() {
    using Reaction = std::pair<QAbstractButton *, void (BridgeController::*)()>;
    for (const auto &[button, action] : {Reaction{connectButton, &BridgeController::connectSelected},
                                         Reaction{patchButton, &BridgeController::togglePatch},
                                         Reaction{chooseButton, &BridgeController::chooseFolder},
                                         Reaction{syncButton, &BridgeController::createSession}})
        connect(button, &QAbstractButton::clicked, this,
                [this, told = action] { tell([told](BridgeController &c) { (c.*told)(); }); });

    connect(devicePopup, &QComboBox::activated, this,
            [this] { tell([](BridgeController &c) { c.hostChosen(); }); });
    for (QLineEdit *field : {sessionNameField, outputPathField})
        connect(field, &QLineEdit::textEdited, this,
                [this] { tell([](BridgeController &c) { c.fieldsEdited(); }); });

    connectButton->setLook(redLook);
    chooseButton->setToolTip(QStringLiteral("Choose the folder that the session is saved in"));
    patchButton->setToolTip(QStringLiteral("Show or hide the console's channels"));
    devicePopup->setToolTip(
        QStringLiteral("The LV1 host to connect to; choosing another one connects to that"));

    noticeRow->onAction = [this] { tell([](BridgeController &c) { c.noticeAction(); }); };
    noticeRow->onDismissal = [this] { dismissNotice(); };

    searchTimer.setParent(this); // findChild finds it by that; heightAnimation likewise
    searchTimer.setObjectName(QStringLiteral("searchTimer"));
    searchTimer.setSingleShot(true);
    searchTimer.start(searchHintDelay);
    connect(&searchTimer, &QTimer::timeout, this, [this] {
        searchLasts = true;
        showMostImportant();
    });
    heightAnimation.setParent(this);
    heightAnimation.setEasingCurve(QEasingCurve::InOutQuad);
    connect(&heightAnimation, &QVariantAnimation::valueChanged, this, [this](const QVariant &value) {
        if (!isAtRest()) // it has others also while it is being set up
            resize(width(), value.toInt());
    });
}

/// The rows' own, whatever Qt makes of the order in which they were made.
void MainWindow::setFocusOrder() {
    QWidget *last = devicePopup;
    for (QWidget *next : std::initializer_list<QWidget *>{
             connectButton, patchButton, table, findChild<QWidget *>(QStringLiteral("noticeAction")),
             findChild<QWidget *>(QStringLiteral("noticeDismiss")), sessionNameField, outputPathField,
             chooseButton, syncButton}) {
        setTabOrder(last, next);
        last = next;
    }
    devicePopup->setFocus();
}

const QIcon &MainWindow::brandIcon() {
    if (!loadedBrandIcon) {
        loadedBrandIcon.emplace();
        if (const auto path = resources("AppIcon", "png"))
            if (const QPixmap image(QString::fromStdString(path->string())); !image.isNull())
                loadedBrandIcon->addPixmap(image);
    }
    return *loadedBrandIcon;
}

} // namespace corvane
