#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "kit/registry.h"
#include "kit/store.h"
#include "zesthost/graph.h"

namespace zesthost {

using StoreValues = std::map<std::string, hostkit::Store::Value>;

struct NodeDescription {
    std::string name;
    std::string type;
    bool bypassed = false;
    StoreValues store;  // as in the file: an attribute is its id string there
    std::optional<Place> place;
};

// What a graph file holds, checked: unique node names, known types, edges between nodes.
struct GraphDescription {
    StoreValues preferences;
    std::vector<NodeDescription> nodes;
    std::vector<std::pair<std::string, std::string>> edges;  // parent, child
};

// A file that can't be used, with the file and the place in the message.
class GraphFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Reads and checks the whole file before anything is made of it. Throws GraphFileError.
GraphDescription read_graph_file(const std::string& path, const hostkit::Registry& registry);
// Throws GraphFileError when the file can't be written.
void write_graph_file(const std::string& path, const GraphDescription& graph);

}  // namespace zesthost
