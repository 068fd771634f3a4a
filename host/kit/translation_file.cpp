#include "kit/translation_file.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

namespace hostkit::detail {

std::optional<std::unordered_map<std::string, std::string>> read_translation_file(
    const std::string& path) {
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
    QJsonDocument document = QJsonDocument::fromJson(file.readAll());
    if (!document.isObject()) return std::nullopt;
    std::unordered_map<std::string, std::string> table;
    const QJsonObject object = document.object();
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        if (!entry.value().isString()) return std::nullopt;
        table.emplace(entry.key().toStdString(), entry.value().toString().toStdString());
    }
    return table;
}

}  // namespace hostkit::detail
