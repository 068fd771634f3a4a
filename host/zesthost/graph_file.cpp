#include "zesthost/graph_file.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <limits>
#include <optional>
#include <set>

// Graph files are JSON:
//   {"preferences": {key: value, ...},
//    "nodes": [{"name": "press", "type": "io.zestworks.gamepad.onbuttonpress",
//               "bypassed": false, "store": {key: value, ...}, "place": [x, y]}, ...],
//    "edges": [["press", "hold_b"], ...]}
// A value is a string, true or false, a whole number (a 32-bit int), or {"double": number}:
// JSON alone can't tell the int 5 from the double 5.0, and the plug-in can. JSON has no
// infinity, so those doubles are {"double": "inf"}, "-inf" or "nan". A node's place is where a
// window drew it; files written before windows placed nodes have none.

namespace zesthost {

namespace {

[[noreturn]] void fail(const std::string& path, const std::string& place, const std::string& what) {
    throw GraphFileError(path + ": " + place + ": " + what);
}

std::string in_quotes(const std::string& text) {
    return "\"" + text + "\"";
}

// A file's offset as line:column, for syntax errors.
std::string line_and_column(const QByteArray& text, qsizetype offset) {
    int line = 1;
    int column = 1;
    for (qsizetype i = 0; i < offset && i < text.size(); ++i) {
        if (text[i] == '\n') {
            ++line;
            column = 1;
        } else {
            ++column;
        }
    }
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

const std::pair<const char*, double> non_finite[] = {
    {"inf", std::numeric_limits<double>::infinity()},
    {"-inf", -std::numeric_limits<double>::infinity()},
    {"nan", std::numeric_limits<double>::quiet_NaN()}};

std::optional<double> read_double(const QJsonValue& value) {
    const QJsonObject object = value.toObject();
    if (!value.isObject() || object.size() != 1) return std::nullopt;
    const QJsonValue number = object.value(QStringLiteral("double"));
    if (number.isDouble()) return number.toDouble();
    for (const auto& [name, special] : non_finite) {
        if (number.toString() == QLatin1String(name)) return special;
    }
    return std::nullopt;
}

QJsonValue json_double(double value) {
    if (std::isfinite(value)) return value;
    const char* name = std::isnan(value) ? "nan" : value > 0 ? "inf" : "-inf";
    return QString::fromLatin1(name);
}

hostkit::Store::Value read_value(const QJsonValue& value, const std::string& path,
                                 const std::string& place) {
    if (value.isString()) return value.toString().toStdString();
    if (value.isBool()) return value.toBool();
    if (value.isDouble()) {
        const double number = value.toDouble();
        if (number != std::trunc(number) || number < std::numeric_limits<std::int32_t>::min() ||
            number > std::numeric_limits<std::int32_t>::max()) {
            fail(path, place, "a number that is no 32-bit int; write {\"double\": number}");
        }
        return static_cast<std::int32_t>(number);
    }
    if (const std::optional<double> number = read_double(value)) return *number;
    fail(path, place,
         "a value must be a string, true, false, a whole number or {\"double\": number}");
}

StoreValues read_store(const QJsonValue& value, const std::string& path, const std::string& place) {
    if (value.isUndefined()) return {};
    if (!value.isObject()) fail(path, place, "must be an object of keys and values");
    StoreValues store;
    const QJsonObject object = value.toObject();
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        const std::string key = entry.key().toStdString();
        store.emplace(key, read_value(entry.value(), path, place + "[" + in_quotes(key) + "]"));
    }
    return store;
}

std::string read_text(const QJsonObject& object, const char* key, const std::string& path,
                      const std::string& place) {
    const QJsonValue value = object.value(QString::fromLatin1(key));
    if (!value.isString() || value.toString().isEmpty()) {
        fail(path, place + "." + key, "must be a non-empty string");
    }
    return value.toString().toStdString();
}

std::optional<Place> read_place(const QJsonValue& value, const std::string& path,
                                const std::string& place) {
    if (value.isUndefined()) return std::nullopt;
    const QJsonArray pair = value.toArray();
    if (!value.isArray() || pair.size() != 2 || !pair[0].isDouble() || !pair[1].isDouble()) {
        fail(path, place, "must be [x, y]");
    }
    return Place{pair[0].toDouble(), pair[1].toDouble()};
}

NodeDescription read_node(const QJsonValue& value, const std::string& path,
                          const std::string& place, const hostkit::Registry& registry) {
    if (!value.isObject()) fail(path, place, "a node must be an object");
    const QJsonObject object = value.toObject();
    NodeDescription node;
    node.name = read_text(object, "name", path, place);
    node.type = read_text(object, "type", path, place);
    if (registry.find(node.type) == nullptr) {
        fail(path, place + ".type", "unknown node type " + in_quotes(node.type));
    }
    const QJsonValue bypassed = object.value(QStringLiteral("bypassed"));
    if (!bypassed.isUndefined() && !bypassed.isBool()) {
        fail(path, place + ".bypassed", "must be true or false");
    }
    node.bypassed = bypassed.toBool(false);
    node.store = read_store(object.value(QStringLiteral("store")), path, place + ".store");
    node.place = read_place(object.value(QStringLiteral("place")), path, place + ".place");
    return node;
}

QJsonArray array_of(const QJsonObject& root, const char* key, const std::string& path) {
    const QJsonValue value = root.value(QString::fromLatin1(key));
    if (value.isUndefined()) return {};
    if (!value.isArray()) fail(path, key, "must be an array");
    return value.toArray();
}

void read_edges(const QJsonArray& edges, const std::string& path, GraphDescription& graph) {
    std::set<std::string> names;
    for (const NodeDescription& node : graph.nodes)
        names.insert(node.name);
    for (qsizetype i = 0; i < edges.size(); ++i) {
        const std::string place = "edges[" + std::to_string(i) + "]";
        const QJsonArray pair = edges[i].toArray();
        if (!edges[i].isArray() || pair.size() != 2 || !pair[0].isString() || !pair[1].isString()) {
            fail(path, place, "an edge must be [\"parent\", \"child\"]");
        }
        const std::string from = pair[0].toString().toStdString();
        const std::string to = pair[1].toString().toStdString();
        for (const std::string& end : {from, to}) {
            if (!names.contains(end)) fail(path, place, "no node is named " + in_quotes(end));
        }
        graph.edges.emplace_back(from, to);
    }
}

QJsonValue json_value(const hostkit::Store::Value& value) {
    if (const auto* number = std::get_if<std::int32_t>(&value)) return *number;
    if (const auto* text = std::get_if<std::string>(&value)) {
        return QString::fromStdString(*text);
    }
    if (const auto* flag = std::get_if<bool>(&value)) return *flag;
    return QJsonObject{{QStringLiteral("double"), json_double(std::get<double>(value))}};
}

QJsonObject json_store(const StoreValues& store) {
    QJsonObject object;
    for (const auto& [key, value] : store)
        object.insert(QString::fromStdString(key), json_value(value));
    return object;
}

}  // namespace

GraphDescription read_graph_file(const std::string& path, const hostkit::Registry& registry) {
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly)) {
        throw GraphFileError(path + ": " + file.errorString().toStdString());
    }
    const QByteArray text = file.readAll();
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError) {
        fail(path, line_and_column(text, error.offset), error.errorString().toStdString());
    }
    if (!document.isObject()) fail(path, "top", "a graph file holds one JSON object");
    const QJsonObject root = document.object();
    GraphDescription graph;
    graph.preferences = read_store(root.value(QStringLiteral("preferences")), path, "preferences");
    const QJsonArray nodes = array_of(root, "nodes", path);
    std::set<std::string> names;
    for (qsizetype i = 0; i < nodes.size(); ++i) {
        const std::string place = "nodes[" + std::to_string(i) + "]";
        graph.nodes.push_back(read_node(nodes[i], path, place, registry));
        if (!names.insert(graph.nodes.back().name).second) {
            fail(path, place + ".name",
                 "a second node named " + in_quotes(graph.nodes.back().name));
        }
    }
    read_edges(array_of(root, "edges", path), path, graph);
    return graph;
}

void write_graph_file(const std::string& path, const GraphDescription& graph) {
    QJsonArray nodes;
    for (const NodeDescription& node : graph.nodes) {
        QJsonObject object{{QStringLiteral("name"), QString::fromStdString(node.name)},
                           {QStringLiteral("type"), QString::fromStdString(node.type)},
                           {QStringLiteral("store"), json_store(node.store)}};
        if (node.bypassed) object.insert(QStringLiteral("bypassed"), true);
        if (node.place) {
            object.insert(QStringLiteral("place"), QJsonArray{node.place->x, node.place->y});
        }
        nodes.append(object);
    }
    QJsonArray edges;
    for (const auto& [from, to] : graph.edges)
        edges.append(QJsonArray{QString::fromStdString(from), QString::fromStdString(to)});
    const QJsonObject root{{QStringLiteral("preferences"), json_store(graph.preferences)},
                           {QStringLiteral("nodes"), nodes},
                           {QStringLiteral("edges"), edges}};
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(QJsonDocument(root).toJson(QJsonDocument::Indented)) < 0) {
        throw GraphFileError(path + ": " + file.errorString().toStdString());
    }
}

}  // namespace zesthost
