#pragma once

#include <string>
#include <vector>

#include "hostapi/host_api.h"
#include "kit/handles.h"

namespace hostkit {

// A node type as registered: copies of the descriptor's texts, its callbacks as they were.
struct RegisteredNodeType {
    std::string id;
    std::string name;
    std::string category;
    const void* reserved = nullptr;
    NodeCreateFn create = nullptr;
    NodeDestroyFn destroy = nullptr;
    NodeGetNameFn get_name = nullptr;
    NodeTypeCodeFn type_code = nullptr;
    NodeBuildPropertiesFn build_properties = nullptr;
    NodeEventFn receive_event = nullptr;
    NodeEventFn forward_event = nullptr;
    NodeStoreFn after_load = nullptr;
    NodeStoreFn before_save = nullptr;
};

// The target of zplugin_load; its address is the ZestRegistry handle. Main thread.
class Registry : public detail::HandleOwner<Registry, ZestRegistry, detail::HandleKind::Registry> {
public:
    Registry() = default;

    // From zest_register_node. Copies everything during the call: the plug-in reuses one
    // descriptor for all its types.
    void add(const NodeTypeDescriptor* descriptor, const char* function);

    const std::vector<RegisteredNodeType>& types() const { return types_; }
    const RegisteredNodeType* find(const std::string& id) const;

private:
    std::vector<RegisteredNodeType> types_;
};

}  // namespace hostkit
