/* libSDL2-2.0.so.0 for the Wine bench: found before the real SDL through LD_LIBRARY_PATH, it
 * names the real one by absolute path as its first dependency, so that every SDL function Wine's
 * winebus looks up reaches the real library except SDL_Init and SDL_Quit. After the real
 * SDL_Init it starts a thread that mirrors the pad board named by ZEST_PAD_BOARD into SDL
 * virtual game controllers, one per non-empty slot, which winebus then shows to Wine's XInput;
 * the rumble that XInput sets on one comes back into its slot.
 *
 * Threads: the mirror thread attaches, detaches and sets the virtual controllers; winebus's
 * thread updates them and calls `rumble`. SDL serialises both under its joystick lock (every
 * virtual-joystick call takes it, and SDL_LockJoysticks is recursive), so each slot's whole
 * change is set under one lock and reaches winebus as one update. */
#define _GNU_SOURCE
#include <SDL2/SDL.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "../pad_board_ops.h"

#define EXPORT __attribute__((visibility("default")))

/* XInput's wButtons bits in the order of SDL's controller buttons A..DPAD_RIGHT. */
static const uint16_t button_bits[SDL_CONTROLLER_BUTTON_DPAD_RIGHT + 1] = {
    0x1000, 0x2000, 0x4000, 0x8000, /* A B X Y */
    0x0020, 0x0400, 0x0010,         /* back guide start */
    0x0040, 0x0080,                 /* left and right thumbs */
    0x0100, 0x0200,                 /* left and right shoulders */
    0x0001, 0x0002, 0x0004, 0x0008  /* up down left right */
};

typedef struct slot {
    unsigned index;          /* in the board, for `rumble` */
    SDL_Joystick* joystick;  /* the mirror thread's own open reference, NULL when detached */
    SDL_JoystickID instance; /* what the controller is found by at detach */
    unsigned attached;       /* how many times, which names each new controller apart */
    char name[48];
    uint32_t mirrored;      /* the board sequence last set into it */
    SDL_JoystickID leaving; /* the controller last detached, until winebus lets it go */
    int has_leaving;
    long long opened_ms; /* when winebus was first seen holding the controller, 0 before */
    long long nudged_ms; /* when the guide button was last flipped to resend the state */
    int nudged;          /* the guide button is flipped now */
} slot;

static zest_board* board;
static slot slots[ZEST_BOARD_PADS];
static pthread_t mirror_thread;
/* Set by SDL_Quit before it joins the mirror thread, which polls it. */
static atomic_int stopping;
static atomic_int started;

/* On winebus's thread, under SDL's joystick lock. */
static int SDLCALL rumble(void* userdata, Uint16 low_frequency, Uint16 high_frequency) {
    const slot* s = userdata;
    zest_board_set_motors(&board->pads[s->index], low_frequency, high_frequency);
    return 0;
}

static void attach(slot* s) {
    SDL_VirtualJoystickDesc desc;
    int device;
    SDL_zero(desc);
    desc.version = SDL_VIRTUAL_JOYSTICK_DESC_VERSION;
    desc.type = SDL_JOYSTICK_TYPE_GAMECONTROLLER;
    desc.naxes = SDL_CONTROLLER_AXIS_MAX;
    desc.nbuttons = SDL_CONTROLLER_BUTTON_DPAD_RIGHT + 1;
    desc.vendor_id = 0x045e; /* an Xbox 360 pad, which winebus presents as an XInput one */
    desc.product_id = 0x028e;
    /* winebus makes a missing serial from the GUID, in which SDL puts a checksum of the name,
     * and Wine's Plug and Play refuses a device whose serial is that of one still being removed:
     * a new name for each attach lets a pad come back at once. */
    snprintf(s->name, sizeof s->name, "zest board pad %u.%u", s->index, ++s->attached);
    desc.name = s->name;
    desc.userdata = s;
    desc.Rumble = rumble;
    SDL_LockJoysticks();
    device = SDL_JoystickAttachVirtualEx(&desc);
    if (device >= 0) {
        s->instance = SDL_JoystickGetDeviceInstanceID(device);
        s->joystick = SDL_JoystickOpen(device);
    }
    SDL_UnlockJoysticks();
    if (!s->joystick)
        fprintf(stderr, "sdl_pads: pad %u not attached: %s\n", s->index, SDL_GetError());
    s->mirrored = ~0u;
    s->opened_ms = 0;
    s->nudged_ms = 0;
    s->nudged = 0;
}

static void detach(slot* s) {
    int device;
    SDL_LockJoysticks();
    SDL_JoystickClose(s->joystick);
    s->joystick = NULL;
    for (device = 0; device < SDL_NumJoysticks(); ++device)
        if (SDL_JoystickGetDeviceInstanceID(device) == s->instance) {
            SDL_JoystickDetachVirtual(device);
            break;
        }
    SDL_UnlockJoysticks();
    s->leaving = s->instance;
    s->has_leaving = 1;
}

/* Whether winebus still holds a detached controller open: it closes it at the end of the device's
 * removal. Wine 8 loses a device that is added or removed while another removal is still going
 * through Plug and Play (the new one never starts, the other one never leaves), so each plug and
 * unplug waits for the last removal to end. */
static int removal_pending(void) {
    int pending = 0;
    unsigned i;
    for (i = 0; i < ZEST_BOARD_PADS; ++i) {
        slot* s = &slots[i];
        if (s->has_leaving) s->has_leaving = SDL_JoystickFromInstanceID(s->leaving) != NULL;
        pending |= s->has_leaving;
    }
    return pending;
}

/* SDL maps a virtual controller's trigger from the joystick axis's whole range, -32768 at rest,
 * and Wine scales it back to XInput's 0..255. */
static Sint16 trigger_axis(uint8_t value) {
    return (Sint16)(value * 257 - 32768);
}

/* SDL's Y axes grow downwards, XInput's upwards, and Wine turns one into the other as -1 - y:
 * the same flip here gives XInput back the board's value over the whole range. */
static Sint16 flip(int16_t y) {
    return (Sint16)~y;
}

static void mirror(slot* s, const zest_board_pad* pad) {
    unsigned b;
    SDL_LockJoysticks();
    for (b = 0; b < sizeof button_bits / sizeof button_bits[0]; ++b)
        SDL_JoystickSetVirtualButton(s->joystick, (int)b, (pad->buttons & button_bits[b]) != 0);
    SDL_JoystickSetVirtualAxis(s->joystick, SDL_CONTROLLER_AXIS_LEFTX, pad->thumb_lx);
    SDL_JoystickSetVirtualAxis(s->joystick, SDL_CONTROLLER_AXIS_LEFTY, flip(pad->thumb_ly));
    SDL_JoystickSetVirtualAxis(s->joystick, SDL_CONTROLLER_AXIS_RIGHTX, pad->thumb_rx);
    SDL_JoystickSetVirtualAxis(s->joystick, SDL_CONTROLLER_AXIS_RIGHTY, flip(pad->thumb_ry));
    SDL_JoystickSetVirtualAxis(s->joystick, SDL_CONTROLLER_AXIS_TRIGGERLEFT,
                               trigger_axis(pad->left_trigger));
    SDL_JoystickSetVirtualAxis(s->joystick, SDL_CONTROLLER_AXIS_TRIGGERRIGHT,
                               trigger_axis(pad->right_trigger));
    SDL_UnlockJoysticks();
    s->mirrored = pad->sequence;
}

static long long now_ms(void) {
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return (long long)t.tv_sec * 1000 + t.tv_nsec / 1000000;
}

/* winebus builds a controller's reports from the changes it hears of once Wine has started the
 * device, a little after it opened the controller: whatever the pad held before then would
 * never reach XInput (neither a held button nor the virtual pad's first report). So a slot
 * stays at rest until winebus has had the controller open for a while. */
static int heard_by_winebus(slot* s) {
    if (SDL_GameControllerFromInstanceID(s->instance) == NULL) return 0;
    if (!s->opened_ms) s->opened_ms = now_ms();
    return now_ms() - s->opened_ms >= 200;
}

/* A program that opens the pad only hears the reports that come after it opened it, and the
 * moment it does is unknown here; so for a while after winebus opened the controller, the guide
 * button (which XInputGetState does not show) is flipped and put back every 100 ms: each flip
 * makes winebus send the whole state again. */
static void nudge(slot* s, const zest_board_pad* pad) {
    const int guide = (pad->buttons & 0x0400) != 0;
    const long long now = now_ms();
    if (!s->nudged && (now - s->opened_ms > 3000 || now - s->nudged_ms < 100)) return;
    s->nudged = !s->nudged;
    s->nudged_ms = now;
    SDL_JoystickSetVirtualButton(s->joystick, SDL_CONTROLLER_BUTTON_GUIDE,
                                 s->nudged ? !guide : guide);
}

/* Slots in board order, so that the pad plugged in a lower slot is attached first. */
static void poll_board(void) {
    int settled = !removal_pending();
    unsigned i;
    for (i = 0; i < ZEST_BOARD_PADS; ++i) {
        slot* s = &slots[i];
        zest_board_pad pad;
        if (!zest_board_read_pad(board, i, &pad)) continue;
        if (pad.kind != ZEST_BOARD_EMPTY && !s->joystick && settled) attach(s);
        if (pad.kind == ZEST_BOARD_EMPTY && s->joystick && settled) {
            detach(s);
            settled = 0;
        }
        if (!s->joystick || !heard_by_winebus(s)) continue;
        if (pad.sequence != s->mirrored) mirror(s, &pad);
        nudge(s, &pad);
    }
}

/* The board appears when the test makes it, maybe after SDL_Init. */
static zest_board* map_board(const char* path) {
    struct stat st;
    void* memory;
    int fd = open(path, O_RDWR);
    if (fd < 0) return NULL;
    memory = fstat(fd, &st) == 0 && st.st_size >= (off_t)sizeof(zest_board)
                 ? mmap(NULL, sizeof(zest_board), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0)
                 : MAP_FAILED;
    close(fd);
    if (memory == MAP_FAILED) return NULL;
    if (zest_board_valid(memory)) return memory;
    munmap(memory, sizeof(zest_board));
    return NULL;
}

static void* run_mirror(void* path) {
    const struct timespec period = {0, 1000000};
    unsigned i;
    while (!atomic_load(&stopping)) {
        if (!board) board = map_board(path);
        if (board) poll_board();
        nanosleep(&period, NULL);
    }
    for (i = 0; i < ZEST_BOARD_PADS; ++i)
        if (slots[i].joystick) detach(&slots[i]);
    return NULL;
}

EXPORT int SDLCALL SDL_Init(Uint32 flags) {
    int (*real_init)(Uint32);
    const char* path = getenv("ZEST_PAD_BOARD");
    unsigned i;
    int result;
    *(void**)&real_init = dlsym(RTLD_NEXT, "SDL_Init"); /* POSIX's way past ISO C's cast rule */
    result = real_init(flags);
    if (result < 0 || !path || !*path || !(flags & (SDL_INIT_JOYSTICK | SDL_INIT_GAMECONTROLLER)))
        return result;
    if (atomic_exchange(&started, 1)) return result;
    for (i = 0; i < ZEST_BOARD_PADS; ++i)
        slots[i].index = i;
    if (pthread_create(&mirror_thread, NULL, run_mirror, (void*)path) != 0) {
        fprintf(stderr, "sdl_pads: no mirror thread\n");
        atomic_store(&started, 0);
    }
    return result;
}

EXPORT void SDLCALL SDL_Quit(void) {
    void (*real_quit)(void);
    *(void**)&real_quit = dlsym(RTLD_NEXT, "SDL_Quit");
    if (atomic_exchange(&started, 0)) {
        atomic_store(&stopping, 1);
        pthread_join(mirror_thread, NULL);
    }
    real_quit();
}
