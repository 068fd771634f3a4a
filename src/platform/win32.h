#pragma once

// The Win32 names that device code is written against: the real headers on Windows, elsewhere
// the declarations that the simulated machine implements.

#ifdef _WIN32

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#include <setupapi.h>
#include <xinput.h>

// mingw-w64 spells this one XINPUT_DEVSUBTYPE_FLIGHT_SICK.
#ifndef XINPUT_DEVSUBTYPE_FLIGHT_STICK
#define XINPUT_DEVSUBTYPE_FLIGHT_STICK 0x04
#endif

#else

#include "platform/win32_linux.h"

#endif
