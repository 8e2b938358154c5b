#pragma once

#include "app/BridgeController.h"
#include "app/MainWindow.h"
#include "tests/fakes/FakeSystem.h"

#include <QAbstractButton>
#include <QApplication>
#include <QTest>

#include <gtest/gtest.h>

namespace corvane {

/// The real window with its controller on fakes.
class WindowFixture : public testing::Test {
protected:
    void launch() {
        window.setController(controller);
        controller->applicationDidFinishLaunching();
        fakes.clock->run();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }

    template <class Control = QWidget>
    Control *control(const char *name) const {
        auto *found = window.findChild<Control *>(QString::fromUtf8(name));
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    QString text(const char *button) const { return control<QAbstractButton>(button)->text(); }
    void click(const char *button) const { QTest::mouseClick(control(button), Qt::LeftButton); }

    static LV1Channel channel(std::string name, std::int32_t number, std::int32_t input,
                              bool stereo = false) {
        return {std::move(name), stereo, "Driver", input, "Mixer_Ch", number};
    }
    static std::vector<LV1Channel> channels(std::int32_t count) {
        std::vector<LV1Channel> list;
        for (std::int32_t number = 1; number <= count; ++number)
            list.push_back(channel("Channel " + std::to_string(number), number, number - 1));
        return list;
    }
    void consoleSendsPatch(const std::vector<LV1Channel> &list) {
        controller->client->onPatch(list);
        controller->client->onChannels(list);
    }

    FakePlatform fakes;
    MainWindow window{fakes.platform.resources};
    std::shared_ptr<BridgeController> controller = BridgeController::make(fakes.platform, window);
};

} // namespace corvane
