/* Operations on a mapped pad board, shared by the Linux tools, the SDL pads and the Windows test
 * programs. Every field that another process reads is stored with an atomic builtin, and a
 * pad's `sequence` (or `motor_sequence`) is bumped last with release order, so that a reader
 * that loads the sequence with acquire order and sees it move also sees the values before it.
 * Plain C (gcc and mingw-w64 builtins), header only. */
#ifndef ZEST_PAD_BOARD_OPS_H
#define ZEST_PAD_BOARD_OPS_H

#include <string.h>

#include "pad_board.h"

#define ZEST_BOARD_LOAD(field) __atomic_load_n(&(field), __ATOMIC_RELAXED)
#define ZEST_BOARD_STORE(field, value) __atomic_store_n(&(field), (value), __ATOMIC_RELAXED)

/* The names a script gives the buttons, with their XINPUT_GAMEPAD::wButtons bits; guide is the
 * bit Windows' own XInput leaves out of its documented set. */
typedef struct zest_board_button_name {
    const char* name;
    uint16_t bit;
} zest_board_button_name;

static const zest_board_button_name zest_board_button_names[] = {
    {"up", 0x0001},    {"down", 0x0002}, {"left", 0x0004}, {"right", 0x0008}, {"start", 0x0010},
    {"back", 0x0020},  {"ls", 0x0040},   {"rs", 0x0080},   {"lb", 0x0100},    {"rb", 0x0200},
    {"guide", 0x0400}, {"a", 0x1000},    {"b", 0x2000},    {"x", 0x4000},     {"y", 0x8000}};

/* The bit of a button name, 0 for an unknown name. */
static inline uint16_t zest_board_button_bit(const char* name) {
    size_t i;
    for (i = 0; i < sizeof zest_board_button_names / sizeof zest_board_button_names[0]; ++i)
        if (strcmp(zest_board_button_names[i].name, name) == 0)
            return zest_board_button_names[i].bit;
    return 0;
}

static inline void zest_board_init(zest_board* board) {
    memset(board, 0, sizeof *board);
    board->version = ZEST_BOARD_VERSION;
    __atomic_store_n(&board->magic, ZEST_BOARD_MAGIC, __ATOMIC_RELEASE);
}

static inline int zest_board_valid(const zest_board* board) {
    return __atomic_load_n(&board->magic, __ATOMIC_ACQUIRE) == ZEST_BOARD_MAGIC &&
           board->version == ZEST_BOARD_VERSION;
}

static inline void zest_board_bump(zest_board_pad* pad) {
    __atomic_fetch_add(&pad->sequence, 1u, __ATOMIC_RELEASE);
}

/* The test's physical pad N (0..3), or NULL. */
static inline zest_board_pad* zest_board_physical(zest_board* board, unsigned n) {
    return n < ZEST_BOARD_FIRST_TARGET ? &board->pads[n] : 0;
}

static inline void zest_board_clear_inputs(zest_board_pad* pad) {
    ZEST_BOARD_STORE(pad->buttons, (uint16_t)0);
    ZEST_BOARD_STORE(pad->left_trigger, (uint8_t)0);
    ZEST_BOARD_STORE(pad->right_trigger, (uint8_t)0);
    ZEST_BOARD_STORE(pad->thumb_lx, (int16_t)0);
    ZEST_BOARD_STORE(pad->thumb_ly, (int16_t)0);
    ZEST_BOARD_STORE(pad->thumb_rx, (int16_t)0);
    ZEST_BOARD_STORE(pad->thumb_ry, (int16_t)0);
}

/* Plugs (or with `plugged` 0 unplugs) physical pad N with every input at rest; 0 for a bad N. */
static inline int zest_board_set_plugged(zest_board* board, unsigned n, int plugged) {
    zest_board_pad* pad = zest_board_physical(board, n);
    if (!pad) return 0;
    zest_board_clear_inputs(pad);
    ZEST_BOARD_STORE(pad->kind, (uint8_t)(plugged ? ZEST_BOARD_PHYSICAL : ZEST_BOARD_EMPTY));
    zest_board_bump(pad);
    return 1;
}

static inline int zest_board_set_button(zest_board* board, unsigned n, uint16_t bit, int down) {
    zest_board_pad* pad = zest_board_physical(board, n);
    uint16_t buttons;
    if (!pad) return 0;
    buttons = ZEST_BOARD_LOAD(pad->buttons);
    ZEST_BOARD_STORE(pad->buttons, (uint16_t)(down ? buttons | bit : buttons & ~bit));
    zest_board_bump(pad);
    return 1;
}

static inline int zest_board_set_trigger(zest_board* board, unsigned n, int right, uint8_t value) {
    zest_board_pad* pad = zest_board_physical(board, n);
    if (!pad) return 0;
    __atomic_store_n(right ? &pad->right_trigger : &pad->left_trigger, value, __ATOMIC_RELAXED);
    zest_board_bump(pad);
    return 1;
}

static inline int zest_board_set_stick(zest_board* board, unsigned n, int right, int16_t x,
                                       int16_t y) {
    zest_board_pad* pad = zest_board_physical(board, n);
    if (!pad) return 0;
    __atomic_store_n(right ? &pad->thumb_rx : &pad->thumb_lx, x, __ATOMIC_RELAXED);
    __atomic_store_n(right ? &pad->thumb_ry : &pad->thumb_ly, y, __ATOMIC_RELAXED);
    zest_board_bump(pad);
    return 1;
}

/* The motors a program last set on pad N (0..7); returns `motor_sequence`, which counts them. */
static inline uint32_t zest_board_motors(const zest_board* board, unsigned n, uint16_t* large,
                                         uint16_t* small) {
    const zest_board_pad* pad = &board->pads[n % ZEST_BOARD_PADS];
    uint32_t sequence = __atomic_load_n(&pad->motor_sequence, __ATOMIC_ACQUIRE);
    *large = ZEST_BOARD_LOAD(pad->motor_large);
    *small = ZEST_BOARD_LOAD(pad->motor_small);
    return sequence;
}

/* The SDL side's half of the above. */
static inline void zest_board_set_motors(zest_board_pad* pad, uint16_t large, uint16_t small) {
    ZEST_BOARD_STORE(pad->motor_large, large);
    ZEST_BOARD_STORE(pad->motor_small, small);
    __atomic_fetch_add(&pad->motor_sequence, 1u, __ATOMIC_RELEASE);
}

/* A consistent copy of pad N's kind and inputs: 1 when taken, 0 when a writer was busy. */
static inline int zest_board_read_pad(const zest_board* board, unsigned n, zest_board_pad* out) {
    const zest_board_pad* pad = &board->pads[n % ZEST_BOARD_PADS];
    uint32_t before = __atomic_load_n(&pad->sequence, __ATOMIC_ACQUIRE);
    out->sequence = before;
    out->kind = ZEST_BOARD_LOAD(pad->kind);
    out->serial = ZEST_BOARD_LOAD(pad->serial);
    out->buttons = ZEST_BOARD_LOAD(pad->buttons);
    out->left_trigger = ZEST_BOARD_LOAD(pad->left_trigger);
    out->right_trigger = ZEST_BOARD_LOAD(pad->right_trigger);
    out->thumb_lx = ZEST_BOARD_LOAD(pad->thumb_lx);
    out->thumb_ly = ZEST_BOARD_LOAD(pad->thumb_ly);
    out->thumb_rx = ZEST_BOARD_LOAD(pad->thumb_rx);
    out->thumb_ry = ZEST_BOARD_LOAD(pad->thumb_ry);
    __atomic_thread_fence(__ATOMIC_ACQUIRE);
    return __atomic_load_n(&pad->sequence, __ATOMIC_RELAXED) == before;
}

static inline void zest_board_set_faults(zest_board* board, const zest_board_faults* faults) {
    ZEST_BOARD_STORE(board->faults.refuse_status, faults->refuse_status);
    ZEST_BOARD_STORE(board->faults.refuse_count, faults->refuse_count);
    ZEST_BOARD_STORE(board->faults.ignore_cancel, faults->ignore_cancel);
    ZEST_BOARD_STORE(board->faults.never_ready, faults->never_ready);
    /* The code last: a driver that sees it also sees the status and count it goes with. */
    __atomic_store_n(&board->faults.refuse_code, faults->refuse_code, __ATOMIC_RELEASE);
}

#endif
