#include "gamepad/gamepad_impl.h"

#include "gamepad/constant_writer.h"
#include "gamepad/feed_writer.h"
#include "gamepad/read_thread.h"

namespace gamepad {

Game::GamepadImpl::GamepadImpl(ReadThread* read_thread, std::size_t gamepad_index)
    : read_thread_(read_thread), gamepad_index_(gamepad_index) {}

const GamepadMetadata* Game::GamepadImpl::metadata() const {
    return read_thread_->exchange(gamepad_index_).metadata_view();
}

const GamepadState* Game::GamepadImpl::state() const {
    return read_thread_->exchange(gamepad_index_).state_view();
}

const GamepadAttribute* Game::GamepadImpl::attribute_at(std::size_t attribute) const {
    const GamepadMetadata* view = metadata();
    if (view == nullptr || attribute >= view->attributes.size()) return nullptr;
    return &view->attributes[attribute];
}

PlacedWriter Game::GamepadImpl::set_constant(std::size_t attribute, const AttributeValue& value,
                                             std::int64_t deadline) {
    const GamepadAttribute* target = attribute_at(attribute);
    if (target == nullptr) return {};
    return set_writer(
        *target, std::make_unique<ConstantWriter>(gamepad_index_, target->id, value, deadline));
}

PlacedWriter Game::GamepadImpl::set_writer(const GamepadAttribute& attribute,
                                           std::unique_ptr<Writer> writer) {
    const auto present = attribute_writers_.constFind(attribute.id);
    if (present != attribute_writers_.constEnd()) {
        read_thread_->push_command(RemoveWriter{present.value()});
    }
    const std::uint64_t id = read_thread_->add_writer(std::move(writer));
    attribute_writers_.insert(attribute.id, id);
    return {attribute.id, id};
}

void Game::GamepadImpl::clear_writer(std::size_t attribute) {
    const GamepadAttribute* target = attribute_at(attribute);
    if (target == nullptr) return;
    remove_writer(attribute_writers_.constFind(target->id));
}

void Game::GamepadImpl::clear_placed_writer(const PlacedWriter& placed) {
    const auto present = attribute_writers_.constFind(placed.attribute);
    if (present != attribute_writers_.constEnd() && present.value() == placed.writer) {
        remove_writer(present);
    }
}

void Game::GamepadImpl::remove_writer(AttributeWriters::const_iterator present) {
    if (present == attribute_writers_.constEnd()) return;
    read_thread_->push_command(RemoveWriter{present.value()});
    attribute_writers_.erase(present);
}

void Game::GamepadImpl::set_feed_source(std::int32_t source) {
    if (source == feed_source_) return;
    feed_source_ = source;
    if (feed_writer_id_ != 0) {
        read_thread_->push_command(RemoveWriter{feed_writer_id_});
        feed_writer_id_ = 0;
    }
    if (source != -1) {
        feed_writer_id_ = read_thread_->add_writer(
            std::make_unique<FeedWriter>(static_cast<std::uint64_t>(source), gamepad_index_));
    }
}

}  // namespace gamepad
