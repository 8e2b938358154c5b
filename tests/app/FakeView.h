#pragma once

#include "app/BridgeView.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

/// A window without a window: it keeps what it was told, and the test is its user.
class FakeView : public BridgeView {
public:
    void useBrandIcon() override { built.emplace_back("icon"); }
    void buildMainMenu() override { built.emplace_back("menu"); }
    void buildUI() override { built.emplace_back("window"); }

    void setStatusLabel(const std::string &text) override { statusLabel.push_back(text); }
    void setStatusDetail(const std::string &text) override { statusDetail = text; }
    void setSceneLabel(const std::string &text) override { sceneLabel = text; }
    void setSceneDetail(const std::string &text) override { sceneDetail = text; }
    void setDevicePopup(const std::vector<std::string> &titles) override {
        devicePopup = titles;
        selected = titles.empty() ? -1 : 0;
    }
    int selectedDevice() const override { return selected; }
    void setConnectButton(const ButtonLook &look, const std::string &text) override {
        connectButton = look;
        meaning = text;
    }
    std::string sessionName() const override { return nameText; }
    std::string outputPath() const override { return pathText; }
    void setOutputPath(const std::string &path) override { pathText = path; }
    void reloadTable(const std::vector<LV1Channel> &channels) override {
        table = channels;
        ++reloads;
    }
    void setChannelScrollShown(bool shown) override { channelScrollShown = shown; }
    void setPatchButton(const std::string &title) override { patchButton = title; }
    void setSyncButtonEnabled(bool enabled) override { syncButtonEnabled = enabled; }
    void setCreateMeaning(const std::string &text) override { createMeaning = text; }
    void showNotice(const std::optional<Notice> &shown) override { notice = shown; }
    void setUpdateUnderWay(bool underWay) override { updateUnderWay = underWay; }
    void requestAttention() override { ++attentionRequests; }
    void setBadge(bool shown) override { badge = shown; }
    std::chrono::milliseconds doubleClickTime() const override { return std::chrono::milliseconds(400); }
    void writeError(const std::string &text) override { errors.push_back(text); }
    void growWindow(int points) override { height += points; }
    void bringToFront() override { ++broughtToFront; }
    void showAlert(const Alert &alert, std::function<void(std::size_t)> answered) override {
        alerts.push_back(alert);
        answers.push_back(std::move(answered));
    }
    void showLines(const std::string &title, const std::vector<std::string> &lines) override {
        linesTitle = title;
        linesShown = lines;
    }
    void chooseFolder(const std::filesystem::path &from,
                      std::function<void(std::optional<std::filesystem::path>)> chosen) override {
        folderFrom = from;
        folderAnswer = std::move(chosen);
    }
    void showAbout() override { ++abouts; }

    const std::string &status() const { return statusLabel.back(); }
    /// Presses a button of the alert that was shown last.
    void answer(std::size_t button) { answers.back()(button); }

    std::vector<std::string> built;
    std::vector<std::string> statusLabel{"Starting…"}; ///< every text it has shown
    std::string statusDetail;
    std::string sceneLabel = "Scene: —";
    std::string sceneDetail;
    std::vector<std::string> devicePopup{"Buscando en la red SoundGrid…"};
    int selected = 0;
    std::optional<ButtonLook> connectButton;
    std::string meaning;
    std::string nameText = "LV1 Session";
    std::string pathText;
    std::vector<LV1Channel> table;
    int reloads = 0;
    bool channelScrollShown = false;
    std::string patchButton = "PATCH LV1 · waiting for sync  ▸";
    bool syncButtonEnabled = false;
    std::string createMeaning;
    std::optional<Notice> notice;
    bool updateUnderWay = false;
    int attentionRequests = 0;
    bool badge = false;
    std::vector<std::string> errors; ///< what it wrote to standard error
    std::string linesTitle;
    std::vector<std::string> linesShown;
    int height = 370;
    int broughtToFront = 0;
    std::vector<Alert> alerts;
    std::vector<std::function<void(std::size_t)>> answers;
    std::filesystem::path folderFrom;
    std::function<void(std::optional<std::filesystem::path>)> folderAnswer;
    int abouts = 0;
};

} // namespace corvane
