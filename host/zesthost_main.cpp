#include <QCoreApplication>
#include <QTextStream>

#include <cstdio>

#include "backend/attribute_labels.h"
#include "backend/attribute_table.h"
#include "backend/gamepad_names.h"
#include "backend/xinput_subtypes.h"
#include "kit/kit.h"
#include "plugin/host_wrappers.h"
#include "plugin/translated_text.h"

// First light of the reference host: the attribute table and the pad names as a zestdeck user
// reads them, through the host kit's English texts.

namespace {

const char* type_name(gamepad::AttributeType type) {
    switch (type) {
        case gamepad::AttributeType::Button:
            return "button";
        case gamepad::AttributeType::Trigger:
            return "trigger";
        case gamepad::AttributeType::Stick:
            return "stick";
        case gamepad::AttributeType::Motor:
            return "motor";
    }
    return "?";
}

void print_table(QTextStream& out) {
    out << "The 23 attributes of a pad\n";
    out << qSetFieldWidth(4) << "row" << qSetFieldWidth(0) << "  ";
    out << qSetFieldWidth(23) << Qt::left << "id" << qSetFieldWidth(9) << "type"
        << qSetFieldWidth(8) << "mask" << qSetFieldWidth(0) << "label\n";
    for (std::size_t row = 0; row < gamepad::attribute_rows.size(); ++row) {
        const gamepad::AttributeRow& entry = gamepad::attribute_rows[row];
        const QString mask =
            entry.button_mask != 0
                ? QStringLiteral("0x%1").arg(entry.button_mask, 4, 16, QLatin1Char('0'))
                : QStringLiteral("-");
        out << Qt::right << qSetFieldWidth(4) << row << qSetFieldWidth(0) << "  " << Qt::left
            << qSetFieldWidth(23) << entry.info.id << qSetFieldWidth(9)
            << type_name(entry.info.type) << qSetFieldWidth(8) << mask << qSetFieldWidth(0)
            << translated_text(entry.generic_label_key) << "\n";
    }
}

void print_pads(QTextStream& out) {
    struct Kind {
        std::uint8_t subtype;
        std::size_t rows[3];
    };
    const Kind kinds[] = {{1, {13, 17, 19}},
                          {gamepad::subtype_wheel, {10, 17, 19}},
                          {gamepad::subtype_flight_stick, {19, 20, 17}},
                          {gamepad::subtype_guitar, {0, 13, 20}},
                          {gamepad::subtype_drum_kit, {13, 14, 8}}};
    out << "\nPads by kind, on user index 0 to 3, with three of their labels\n";
    for (const Kind& kind : kinds) {
        for (std::size_t pad = 0; pad < gamepad::xinput_pad_count; ++pad) {
            out << (pad == 0 ? "" : ", ") << gamepad::translated_gamepad_name(kind.subtype, pad);
        }
        out << ":";
        for (std::size_t row : kind.rows) {
            out << " [" << translated_text(gamepad::attribute_label_key(kind.subtype, row)) << "]";
        }
        out << "\n";
    }
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (!hostkit::load_translations(ZEST_ENGLISH_TABLE)) {
        std::fprintf(stderr, "zesthost: cannot read the English texts %s\n", ZEST_ENGLISH_TABLE);
        return 1;
    }
    plugin_host_handle = hostkit::host_handle();
    QTextStream out(stdout);
    out << translated_text("Name") << " 0.9.4\n\n";
    print_table(out);
    print_pads(out);
    out.flush();
    for (const std::string& problem : hostkit::check())
        std::fprintf(stderr, "%s\n", problem.c_str());
    return hostkit::check().empty() ? 0 : 1;
}
