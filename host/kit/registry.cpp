#include "kit/registry.h"

#include "kit/violations.h"

namespace hostkit {

namespace {

std::string copied(const char* text) {
    return text == nullptr ? std::string() : text;
}

}  // namespace

void Registry::add(const NodeTypeDescriptor* descriptor, const char* function) {
    if (descriptor == nullptr || descriptor->id == nullptr) {
        detail::record_violation(function, "no descriptor or no id");
        return;
    }
    if (find(descriptor->id) != nullptr) {
        detail::record_violation(function,
                                 "type " + detail::quoted(descriptor->id) + " registered twice");
        return;
    }
    const NodeTypeDescriptor& d = *descriptor;
    types_.push_back({copied(d.id), copied(d.name), copied(d.category), d.reserved, d.create,
                      d.destroy, d.get_name, d.type_code, d.build_properties, d.receive_event,
                      d.forward_event, d.after_load, d.before_save});
}

const RegisteredNodeType* Registry::find(const std::string& id) const {
    for (const RegisteredNodeType& type : types_) {
        if (type.id == id) return &type;
    }
    return nullptr;
}

}  // namespace hostkit
