/* The control side of the simulated machine for C and other languages, and for hosts that
 * preload their own copy. The same machine as the C++ API in zestsim.h; thread-safe. */
#ifndef ZESTSIM_C_H
#define ZESTSIM_C_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct zestsim_pad_state {
    uint16_t buttons;
    uint8_t left_trigger;
    uint8_t right_trigger;
    int16_t thumb_lx;
    int16_t thumb_ly;
    int16_t thumb_rx;
    int16_t thumb_ry;
} zestsim_pad_state;

void zestsim_reset(void);
/* subtype as XInput reports it: 1 gamepad, 2 wheel, 4 flight stick, 6 guitar, 8 drum kit, ... */
void zestsim_plug_pad(uint32_t user, uint32_t subtype);
void zestsim_unplug_pad(uint32_t user);
void zestsim_press(uint32_t user, uint16_t buttons, int down);
void zestsim_set_triggers(uint32_t user, uint8_t left, uint8_t right);
void zestsim_set_sticks(uint32_t user, int16_t lx, int16_t ly, int16_t rx, int16_t ry);
void zestsim_pad_state_of(uint32_t user, zestsim_pad_state* state);
void zestsim_vibration(uint32_t user, uint16_t* left, uint16_t* right);
/* The bus driver: installed or not; a plugged target's XInput index (-1 if not shown) and the
 * last report submitted for it. */
void zestsim_set_bus_driver(int installed);
/* Faults: DeviceIoControl with `code` fails at once with `error` (0 lifts it); CancelIoEx
 * cancels nothing while `ignore` is nonzero; CreateThread, and CreateEventA/W, fail while
 * `refuse` is nonzero. */
void zestsim_refuse_requests(uint32_t code, uint32_t error);
void zestsim_ignore_cancel(int ignore);
void zestsim_refuse_threads(int refuse);
void zestsim_refuse_events(int refuse);
int zestsim_target_user(uint32_t serial);
void zestsim_target_report(uint32_t serial, zestsim_pad_state* report);

#ifdef __cplusplus
}
#endif

#endif
