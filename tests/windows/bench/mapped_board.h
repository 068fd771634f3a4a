#pragma once

#include <windows.h>

#include <cstdlib>
#include <string>

#include "windows/bench/pad_board_ops.h"

// The board named by ZEST_PAD_BOARD (a Linux path), mapped through Wine's drive Z:, for the
// test programs that run in a bench session.
class MappedBoard {
public:
    MappedBoard() {
        const char* path = std::getenv("ZEST_PAD_BOARD");
        if (path == nullptr) return;
        file_ = CreateFileA((std::string("Z:") + path).c_str(), GENERIC_READ | GENERIC_WRITE,
                            FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
        if (file_ == INVALID_HANDLE_VALUE) return;
        mapping_ =
            CreateFileMappingA(file_, nullptr, PAGE_READWRITE, 0, sizeof(zest_board), nullptr);
        if (mapping_ != nullptr) {
            board_ = static_cast<zest_board*>(
                MapViewOfFile(mapping_, FILE_MAP_WRITE, 0, 0, sizeof(zest_board)));
        }
    }
    ~MappedBoard() {
        if (board_ != nullptr) UnmapViewOfFile(board_);
        if (mapping_ != nullptr) CloseHandle(mapping_);
        if (file_ != INVALID_HANDLE_VALUE) CloseHandle(file_);
    }
    MappedBoard(const MappedBoard&) = delete;
    MappedBoard& operator=(const MappedBoard&) = delete;

    // The board, or null when there is none to map.
    zest_board* get() const {
        return board_ != nullptr && zest_board_valid(board_) ? board_ : nullptr;
    }

private:
    HANDLE file_ = INVALID_HANDLE_VALUE;
    HANDLE mapping_ = nullptr;
    zest_board* board_ = nullptr;
};

// Polls `done` for a bounded while: what the board is told reaches the program (or the other
// way round) through Wine's device processes.
template <typename Done>
bool eventually_on_board(Done done) {
    const ULONGLONG deadline = GetTickCount64() + 15000;
    while (!done() && GetTickCount64() < deadline)
        Sleep(2);
    return done();
}
