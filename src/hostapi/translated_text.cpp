#include "hostapi/translated_text.h"

#include "hostapi/host_wrappers.h"

QByteArray translated_text(const char* key) {
    return QByteArray(plugin_tr(key));
}

QByteArray translated_text_with_int(const char* key, std::int32_t value) {
    ZestTrBuilder builder = plugin_tr_arg(key);
    zest_tr_int(builder, value);
    char* text = zest_tr_end(builder);
    QByteArray result(text);
    if (text != nullptr) zest_string_destroy(text);
    return result;
}
