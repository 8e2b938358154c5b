#pragma once

#include "app/BridgeView.h"
#include "platform/queues/SerialQueue.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace corvane::soak {

/// A window whose user is a script: it keeps only what it shows now, tells of every text, and answers each
/// question a moment later.
class SoakView : public BridgeView {
public:
    explicit SoakView(SerialQueue &main) : main(main) {}

    std::function<void(const std::string &text)> onStatusLabel;
    std::function<void(const std::string &text)> onSceneLabel;
    std::function<void(const ButtonLook &look)> onConnectButton;
    /// Which button of an alert is pressed.
    std::function<std::size_t(const Alert &alert)> onAlert;

    void useBrandIcon() override {}
    void buildMainMenu() override {}
    void buildUI() override {}
    void setStatusLabel(const std::string &text) override { onStatusLabel(text); }
    void setStatusDetail(const std::string &text) override { detail = text; }
    void setSceneLabel(const std::string &text) override { onSceneLabel(text); }
    void setSceneDetail(const std::string &) override {}
    void setDevicePopup(const std::vector<std::string> &titles) override { devices = titles.size(); }
    int selectedDevice() const override { return devices == 0 ? -1 : 0; }
    void setConnectButton(const ButtonLook &look, const std::string &) override {
        const bool isNews = !(look == button); // what it says in words may change without its colour
        button = look;
        if (isNews)
            onConnectButton(look);
    }
    std::string sessionName() const override { return "Soak"; }
    std::string outputPath() const override { return path; }
    void setOutputPath(const std::string &text) override { path = text; }
    void reloadTable(const std::vector<LV1Channel> &channels) override {
        table = channels;
        ++reloads;
    }
    void setChannelScrollShown(bool) override {}
    void setPatchButton(const std::string &) override {}
    void setSyncButtonEnabled(bool) override {}
    void setCreateMeaning(const std::string &) override {}
    void showNotice(const std::optional<Notice> &) override {}
    void setUpdateUnderWay(bool) override {}
    void requestAttention() override {}
    void setBadge(bool) override {}
    std::chrono::milliseconds doubleClickTime() const override { return {}; }
    void writeError(const std::string &) override {}
    void growWindow(int) override {}
    void bringToFront() override {}
    void showAlert(const Alert &alert, std::function<void(std::size_t)> answered) override {
        using namespace std::chrono_literals;
        main.after(20ms, [chosen = onAlert(alert), answered = std::move(answered)] { answered(chosen); });
    }
    void showLines(const std::string &, const std::vector<std::string> &) override {}
    void chooseFolder(const std::filesystem::path &,
                      std::function<void(std::optional<std::filesystem::path>)>) override {}
    void showAbout() override {}

    ButtonLook button = redLook;
    std::vector<LV1Channel> table;
    std::size_t reloads = 0;

private:
    SerialQueue &main;
    std::size_t devices = 0;
    std::string path;
    std::string detail;
};

} // namespace corvane::soak
