#pragma once

#include <QByteArray>

#include <cstddef>
#include <memory>

#include "backend/attach_result.h"
#include "backend/attribute_info.h"
#include "backend/read_flags.h"
#include "records/gamepad_records.h"

namespace gamepad {

// The one device layer. A pad is an index below gamepad_count() (also the XInput user index);
// a position indexes one pad's current attribute list and GamepadState::values. Callers keep
// pad and position in range; nothing here tests them. An operation runs on the polling thread
// unless its comment names another, and none takes a lock.
class Backend {
public:
    // Main thread, after the polling thread has ended.
    virtual ~Backend();

    // Kinds of virtual pad this backend can attach; a `kind` argument is below it.
    virtual std::size_t virtual_gamepad_count() = 0;
    // The translated name of a kind.
    virtual QByteArray virtual_gamepad_name(std::size_t kind) = 0;
    // May block for about a second. On Success, the virtual pad's index is in `pad`.
    virtual AttachResult attach_virtual_gamepad(std::size_t kind, std::size_t& pad) = 0;
    // The translated text of a result other than Success.
    virtual QByteArray attach_error_text(std::size_t kind, AttachResult result) = 0;
    // Main thread, while the polling thread runs: may touch no slot data.
    virtual bool can_hide_feed_gamepad() = 0;
    // Main thread, while the polling thread runs: may touch no slot data.
    virtual void hide_feed_gamepad() = 0;

    // Main thread, once, before the polling thread starts; the count is fixed from then on.
    virtual std::size_t gamepad_count() = 0;

    // The pad's metadata as its last read left it; asked again after a read that reports
    // MetadataChanged. attribute_info gives a row of static lifetime.
    virtual QByteArray gamepad_name(std::size_t pad) = 0;
    virtual GamepadCapabilities gamepad_capabilities(std::size_t pad) = 0;
    virtual std::size_t attribute_count(std::size_t pad) = 0;
    virtual const AttributeInfo& attribute_info(std::size_t pad, std::size_t position) = 0;
    virtual QByteArray attribute_label(std::size_t pad, std::size_t position) = 0;

    // Takes down the virtual pad that an attach put at `pad`.
    virtual void detach_virtual_gamepad(std::size_t pad) = 0;
    // At most once a second: lets empty slots be polled once more.
    virtual void refresh_gamepads() = 0;
    // Writes every position of `state.values`, resizing it itself when the attribute count
    // changes (and then reports MetadataChanged); or reports Unchanged and writes nothing. So the
    // caller hands the same state every tick and leaves it alone between reads.
    virtual ReadFlags read_gamepad(std::size_t pad, GamepadState& state) = 0;
    // Empty positions mean that no writer set them this tick; they read as zero.
    virtual void write_gamepad(std::size_t pad, const GamepadState& state) = 0;
};

// The backend of this platform, a virtual-pad-capable one. Touches no device; main thread.
std::unique_ptr<Backend> create_backend();

}  // namespace gamepad
