#pragma once

#include <windows.h>

#include <cstdlib>
#include <string>

#include "pad_board_ops.h"

// The board named by ZEST_PAD_BOARD (a Linux path), mapped through Wine's drive Z:, for the
// test programs that run in a bench session.
class MappedBoard {
public:
    MappedBoard() {
        const char* path = std::getenv("ZEST_PAD_BOARD");
        if (path == nullptr) return;
        const HANDLE file =
            CreateFileA((std::string("Z:") + path).c_str(), GENERIC_READ | GENERIC_WRITE,
                        FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
        if (file == INVALID_HANDLE_VALUE) return;
        // The view keeps the mapping, and the mapping the file.
        const HANDLE mapping =
            CreateFileMappingA(file, nullptr, PAGE_READWRITE, 0, sizeof(zest_board), nullptr);
        CloseHandle(file);
        if (mapping == nullptr) return;
        view_ = static_cast<zest_board*>(
            MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, sizeof(zest_board)));
        CloseHandle(mapping);
    }
    ~MappedBoard() {
        if (view_ != nullptr) UnmapViewOfFile(view_);
    }
    MappedBoard(const MappedBoard&) = delete;
    MappedBoard& operator=(const MappedBoard&) = delete;

    // The board, or null when there is none to map.
    zest_board* get() const {
        return view_ != nullptr && zest_board_valid(view_) ? view_ : nullptr;
    }

private:
    zest_board* view_ = nullptr;
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
