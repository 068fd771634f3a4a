#pragma once

#include <QByteArray>

#include <cstdint>

// Host translations copied into plug-in-owned bytes. Safe on the polling thread: they use only
// the thread-safe host functions.

// The text of a key without arguments; empty when the host has none.
QByteArray translated_text(const char* key);

// The text of a key with one numeric argument, as "GenericGamepad.Name.%1".
QByteArray translated_text_with_int(const char* key, std::int32_t value);
