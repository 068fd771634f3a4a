/* The Wine bench's pad board: one small file that the test side, the test bus driver and the
 * SDL pads inside Wine's device process all map or read, so that pads pressed from Linux reach
 * Wine's own XInput and the motors a program sets come back.
 *
 * Who writes what:
 * - pads[0..3] are the test's physical pads: the test writes kind and inputs, then bumps
 *   `sequence`.
 * - pads[4..7] are the bus driver's targets: it takes the lowest empty one at a plug, writes
 *   each X360 report into it, bumps `sequence`, and empties it at an unplug.
 * - `motor_large`, `motor_small` and `motor_sequence` of every pad are written by the SDL side
 *   when a program rumbles that pad through XInput.
 * - `faults` are written by the test and read by the driver at each request.
 * - `targets_plugged` and `requests_pended` are written by the driver (the latter within ~2 ms).
 * Plain C, little-endian, no padding: the kernel driver (mingw-w64), the SDL wrapper (Linux) and
 * the Windows and Linux test programs include it alike. */
#ifndef ZEST_PAD_BOARD_H
#define ZEST_PAD_BOARD_H

#include <stdint.h>

#define ZEST_BOARD_MAGIC 0x5A504244u /* "DBPZ" */
#define ZEST_BOARD_VERSION 1u
#define ZEST_BOARD_PADS 8u
#define ZEST_BOARD_FIRST_TARGET 4u

enum zest_board_kind {
    ZEST_BOARD_EMPTY = 0,
    ZEST_BOARD_PHYSICAL = 1, /* a pad the test plugged */
    ZEST_BOARD_TARGET = 2    /* a target the bus driver plugged */
};

typedef struct zest_board_pad {
    uint32_t sequence; /* bumped after every change of kind or inputs */
    uint8_t kind;      /* enum zest_board_kind */
    uint8_t reserved;
    uint16_t serial;  /* the bus serial of a target, 0 for a physical pad */
    uint16_t buttons; /* the bits of XINPUT_GAMEPAD::wButtons */
    uint8_t left_trigger;
    uint8_t right_trigger;
    int16_t thumb_lx;
    int16_t thumb_ly;
    int16_t thumb_rx;
    int16_t thumb_ry;
    uint16_t motor_large; /* the last rumble a program set, written by the SDL side */
    uint16_t motor_small;
    uint32_t motor_sequence; /* bumped after each rumble */
    uint32_t reserved2;
} zest_board_pad;

/* Faults the driver plays, chosen by the test. */
typedef struct zest_board_faults {
    uint32_t refuse_code;   /* a control code refused at once, 0 for none */
    uint32_t refuse_status; /* the NTSTATUS it is refused with */
    uint32_t refuse_count;  /* how many more times; 0xFFFFFFFF for always */
    uint32_t ignore_cancel; /* nonzero: pended requests ignore cancellation */
    uint32_t never_ready;   /* nonzero: wait-ready pends and never completes */
    uint32_t reserved[3];
} zest_board_faults;

typedef struct zest_board {
    uint32_t magic; /* ZEST_BOARD_MAGIC once the test has made the file */
    uint32_t version;
    zest_board_faults faults;
    uint32_t targets_plugged; /* the driver's count of targets it holds now */
    uint32_t requests_pended; /* the driver's count of requests it holds pended now */
    uint32_t reserved[4];
    zest_board_pad pads[ZEST_BOARD_PADS];
} zest_board;

#ifdef __cplusplus
static_assert(sizeof(zest_board_pad) == 32, "the board's layout is fixed");
static_assert(sizeof(zest_board) == 64 + 8 * 32, "the board's layout is fixed");
#endif

#endif
