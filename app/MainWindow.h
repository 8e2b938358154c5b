#pragma once

#include "app/BridgeView.h"
#include "app/HeldKeys.h"
#include "platform/files/StandardFolders.h"

#include <QIcon>
#include <QMainWindow>
#include <QTimer>
#include <QVariantAnimation>

#include <memory>
#include <optional>

class QFrame;
class QLabel;
class QLineEdit;
class QVBoxLayout;

namespace corvane {

class BezelButton;
class BridgeController;
class BusyMark;
class ChannelTable;
class ElidedLabel;
class HostMenu;
class NoticeRow;
class PushButton;

/// The one window of the application. It shows what the controller tells it and passes on what the user does.
/// Main thread only; outlives the controller.
class MainWindow : public QMainWindow, public BridgeView {
public:
    /// `rehearsalFolder`: set in a rehearsal, which the window then says.
    explicit MainWindow(BundleResources resources, const QString &rehearsalFolder = {});
    ~MainWindow() override;

    /// Who is told what the user does. Set before the window is built.
    void setController(std::weak_ptr<BridgeController> newController) {
        controller = std::move(newController);
    }

    /// The brand icon: "AppIcon.png" of the program's resources. Loaded on first use; null when there is
    /// none, or none that is an image.
    const QIcon &brandIcon();

    void useBrandIcon() override;
    void buildMainMenu() override;
    void buildUI() override;

    void setStatusLabel(const std::string &text) override;
    void setStatusDetail(const std::string &text) override;
    void setSceneLabel(const std::string &text) override;
    void setSceneDetail(const std::string &text) override;
    void setDevicePopup(const std::vector<std::string> &titles) override;
    int selectedDevice() const override;
    void setConnectButton(const ButtonLook &look, const std::string &meaning) override;
    std::string sessionName() const override;
    std::string outputPath() const override;
    void setOutputPath(const std::string &path) override;
    void reloadTable(const std::vector<LV1Channel> &channels) override;
    void setChannelScrollShown(bool shown) override;
    void setPatchButton(const std::string &title) override;
    void setSyncButtonEnabled(bool enabled) override;
    void setCreateMeaning(const std::string &meaning) override;

    void showNotice(const std::optional<Notice> &notice) override;
    void setUpdateUnderWay(bool underWay) override;
    void requestAttention() override;
    void setBadge(bool shown) override;
    std::chrono::milliseconds doubleClickTime() const override;
    void writeError(const std::string &text) override;

    void growWindow(int points) override;
    void bringToFront() override;

    void showAlert(const Alert &alert, std::function<void(std::size_t button)> answered) override;
    void showLines(const std::string &title, const std::vector<std::string> &lines) override;
    void chooseFolder(const std::filesystem::path &from,
                      std::function<void(std::optional<std::filesystem::path>)> chosen) override;
    void showAbout() override;

protected:
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    // Heights in points, without a menu bar
    static constexpr int contentHeight = 370;
    static constexpr int minimumContentHeight = 350;
    static constexpr int rowSpacing = 10;
    static constexpr int tableHeight = 230;

    void nameControls();
    void connectControls();
    void setFocusOrder();
    void limitSize();
    QWidget *headerRow();
    QLabel *subtitle();
    QWidget *hostRow();
    QLayout *statusRow();
    QWidget *noticeRoom();
    QWidget *sessionFields();
    QWidget *bottomRow();
    void showMostImportant();
    void dismissNotice();
    bool isAtRest() const;
    /// Height of the menu bar where it is part of the window.
    int menuHeight() const;
    template <class Action>
    void tell(Action action) const {
        if (const auto strong = controller.lock())
            action(*strong);
    }

    BundleResources resources;
    QString rehearsalFolder;
    std::weak_ptr<BridgeController> controller;
    std::optional<QIcon> loadedBrandIcon;

    // Owned by the window as its children
    ElidedLabel *status;
    ElidedLabel *scene;
    HostMenu *devicePopup;
    BezelButton *connectButton; ///< "SYNC LV1": see docs/Names.md
    QLineEdit *sessionNameField;
    QLineEdit *outputPathField;
    BezelButton *chooseButton;
    QFrame *channelScroll;
    ChannelTable *table;
    PushButton *patchButton;
    BezelButton *syncButton; ///< "Create LiveTrax Session": see docs/Names.md
    BusyMark *busyMark;
    NoticeRow *noticeRow;

    HeldKeys heldKeys;
    std::optional<Notice> notice; ///< the controller's
    QTimer searchTimer;           ///< runs until a console is heard
    bool searchLasts = false;
    QVariantAnimation heightAnimation;
    int targetHeight = 0;                   ///< where the window's height was asked to go
    int heightWithoutTable = contentHeight; ///< of the content that the open table grows from
};

} // namespace corvane
