#pragma once

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "backend/attribute_info.h"
#include "gamepad/read_thread.h"
#include "platform/monotonic_clock.h"
#include "support/eventually.h"
#include "support/manual_ticks.h"
#include "support/scripted_backend.h"

namespace gamepad {

using testsupport::ManualTicks;
using testsupport::ScriptedBackend;
using testsupport::ScriptedPad;

inline const std::int64_t in_an_hour = platform::monotonic_now_ns() + 3'600'000'000'000;

inline const std::vector<AttributeInfo> three_rows{
    {"a", AttributeType::Button, AttributeDirection::Input},
    {"t", AttributeType::Trigger, AttributeDirection::Input},
    {"s", AttributeType::Stick, AttributeDirection::Input}};

inline ScriptedPad pad_with(const std::vector<AttributeInfo>& rows, bool connected = true) {
    return {
        .connected = connected, .rows = rows, .values = std::vector<AttributeValue>(rows.size())};
}

// Delivers what the polling thread queued for the main thread.
inline void deliver() {
    QCoreApplication::processEvents();
}

// Makes the scripted backend and the hand-stepped ticks when the code under test asks for them,
// and keeps a pointer to each.
class CoreTest : public ::testing::Test {
protected:
    std::unique_ptr<ScriptedBackend> make_backend(std::vector<ScriptedPad> pads) {
        auto made = std::make_unique<ScriptedBackend>(std::move(pads));
        backend = made.get();
        return made;
    }
    std::unique_ptr<ManualTicks> make_ticks() {
        auto made = std::make_unique<ManualTicks>();
        ticks = made.get();
        return made;
    }
    // A backend the test keeps itself.
    ScriptedBackend& own_backend(std::vector<ScriptedPad> pads) {
        owned = make_backend(std::move(pads));
        return *owned;
    }
    void step() {
        ASSERT_TRUE(ticks->step());
        deliver();
    }
    void set_pad(std::size_t pad, const std::function<void(ScriptedPad&)>& change) {
        backend->edit([&](std::vector<ScriptedPad>& pads) { change(pads[pad]); });
    }

    std::unique_ptr<ScriptedBackend> owned;
    ScriptedBackend* backend = nullptr;
    ManualTicks* ticks = nullptr;
};

// Records the polling thread's signals on the main thread, in the order of delivery, as their
// name and arguments ("attribute 0 2").
class SignalLog : public QObject {
public:
    explicit SignalLog(ReadThread& thread) {
        add(thread, &ReadThread::gamepad_changed, "changed");
        add(thread, &ReadThread::gamepad_metadata_changed, "metadata");
        add(thread, &ReadThread::gamepad_any_metadata_changed, "any");
        add(thread, &ReadThread::gamepad_is_connected_changed, "connected");
        add(thread, &ReadThread::gamepad_attribute_changed, "attribute");
        add(thread, &ReadThread::virtual_gamepad_attach_error, "attach error");
        add(thread, &ReadThread::virtual_gamepad_attach_success, "attach success");
    }

    std::vector<std::string> take() { return std::exchange(entries_, {}); }

private:
    static std::string text(std::size_t number) { return std::to_string(number); }
    static std::string text(const QByteArray& bytes) { return bytes.toStdString(); }
    template <typename... Args>
    void add(ReadThread& thread, void (ReadThread::*signal)(Args...), std::string name) {
        connect(&thread, signal, this, [this, name](Args... args) {
            entries_.push_back((name + ... + (" " + text(args))));
        });
    }

    std::vector<std::string> entries_;
};

}  // namespace gamepad
