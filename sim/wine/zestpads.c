/* zestpads BOARD COMMAND...: the pad board for scripts.
 *   init                           a new board: no pad, no fault
 *   plug N | unplug N              physical pad N (0..3), inputs at rest
 *   press N BUTTON | release N BUTTON   up down left right start back ls rs lb rb guide a b x y
 *   trigger N left|right V         0..255
 *   stick N left|right X Y         -32768..32767, Y up as in XInput
 *   motors N                       prints "LARGE SMALL SEQUENCE" of pad N (0..7)
 *   faults CODE STATUS COUNT IGNORE_CANCEL NEVER_READY   numbers, 0x for hex
 *   show                           prints every pad */
#define _DEFAULT_SOURCE
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

#include "pad_board_ops.h"

static zest_board* map_board(const char* path, int create) {
    void* memory;
    int fd = open(path, O_RDWR | (create ? O_CREAT : 0), 0666);
    if (fd < 0 || (create && ftruncate(fd, sizeof(zest_board)) != 0)) {
        perror(path);
        exit(1);
    }
    memory = mmap(NULL, sizeof(zest_board), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    if (memory == MAP_FAILED) {
        perror(path);
        exit(1);
    }
    if (!create && !zest_board_valid(memory)) {
        fprintf(stderr, "%s: not a pad board; run init first\n", path);
        exit(1);
    }
    return memory;
}

static long number(const char* text, long low, long high) {
    char* end;
    long value = strtol(text, &end, 0);
    if (*text == '\0' || *end != '\0' || value < low || value > high) {
        fprintf(stderr, "zestpads: %s is not a number in %ld..%ld\n", text, low, high);
        exit(2);
    }
    return value;
}

static int side(const char* text) {
    if (strcmp(text, "left") == 0) return 0;
    if (strcmp(text, "right") == 0) return 1;
    fprintf(stderr, "zestpads: %s is neither left nor right\n", text);
    exit(2);
}

static uint16_t button(const char* name) {
    uint16_t bit = zest_board_button_bit(name);
    if (bit) return bit;
    fprintf(stderr, "zestpads: no button %s\n", name);
    exit(2);
}

static void show(const zest_board* board) {
    unsigned n;
    for (n = 0; n < ZEST_BOARD_PADS; ++n) {
        zest_board_pad pad;
        uint16_t large, small;
        uint32_t motors = zest_board_motors(board, n, &large, &small);
        while (!zest_board_read_pad(board, n, &pad))
            continue;
        printf(
            "%u kind %u serial %u buttons 0x%04x triggers %u %u left %d %d right %d %d "
            "motors %u %u %u\n",
            n, pad.kind, pad.serial, pad.buttons, pad.left_trigger, pad.right_trigger, pad.thumb_lx,
            pad.thumb_ly, pad.thumb_rx, pad.thumb_ry, large, small, motors);
    }
    printf("targets %u\n", __atomic_load_n(&board->targets_plugged, __ATOMIC_RELAXED));
}

static int run(zest_board* board, const char* command, char** arg, int count) {
    unsigned n = count > 0 ? (unsigned)number(arg[0], 0, ZEST_BOARD_PADS - 1) : 0;
    if (strcmp(command, "show") == 0 && count == 0) return show(board), 1;
    if (strcmp(command, "plug") == 0 && count == 1) return zest_board_set_plugged(board, n, 1);
    if (strcmp(command, "unplug") == 0 && count == 1) return zest_board_set_plugged(board, n, 0);
    if (strcmp(command, "press") == 0 && count == 2)
        return zest_board_set_button(board, n, button(arg[1]), 1);
    if (strcmp(command, "release") == 0 && count == 2)
        return zest_board_set_button(board, n, button(arg[1]), 0);
    if (strcmp(command, "trigger") == 0 && count == 3)
        return zest_board_set_trigger(board, n, side(arg[1]), (uint8_t)number(arg[2], 0, 255));
    if (strcmp(command, "stick") == 0 && count == 4)
        return zest_board_set_stick(board, n, side(arg[1]),
                                    (int16_t)number(arg[2], INT16_MIN, INT16_MAX),
                                    (int16_t)number(arg[3], INT16_MIN, INT16_MAX));
    if (strcmp(command, "motors") == 0 && count == 1) {
        uint16_t large, small;
        uint32_t sequence = zest_board_motors(board, n, &large, &small);
        printf("%u %u %u\n", large, small, sequence);
        return 1;
    }
    return -1;
}

static void set_faults(zest_board* board, char** arg) {
    zest_board_faults faults;
    memset(&faults, 0, sizeof faults);
    faults.refuse_code = (uint32_t)number(arg[0], 0, 0xFFFFFFFFL);
    faults.refuse_status = (uint32_t)number(arg[1], 0, 0xFFFFFFFFL);
    faults.refuse_count = (uint32_t)number(arg[2], 0, 0xFFFFFFFFL);
    faults.ignore_cancel = (uint32_t)number(arg[3], 0, 1);
    faults.never_ready = (uint32_t)number(arg[4], 0, 1);
    zest_board_set_faults(board, &faults);
}

int main(int argc, char** argv) {
    zest_board* board;
    int done;
    if (argc < 3) {
        fprintf(stderr,
                "usage: zestpads BOARD init|show|plug|unplug|press|release|trigger|"
                "stick|motors|faults ...\n");
        return 2;
    }
    board = map_board(argv[1], strcmp(argv[2], "init") == 0);
    if (strcmp(argv[2], "init") == 0 && argc == 3) return zest_board_init(board), 0;
    if (strcmp(argv[2], "faults") == 0 && argc == 8) return set_faults(board, argv + 3), 0;
    done = run(board, argv[2], argv + 3, argc - 3);
    if (done < 0)
        fprintf(stderr, "zestpads: bad command %s with %d arguments\n", argv[2], argc - 3);
    if (done == 0) fprintf(stderr, "zestpads: pad %s is not a physical pad (0..3)\n", argv[3]);
    return done > 0 ? 0 : 2;
}
