#pragma once

// The command line of the programs that tools/instruction-counts runs:
//
//     PROGRAM --list          prints the names of its works, one per line
//     PROGRAM WORK COUNT      performs COUNT operations of that work

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

using InstructionWorks = std::map<std::string, void (*)(std::int64_t count)>;

inline int runInstructionWorks(const InstructionWorks& works, int argumentCount, char** arguments) {
    if (argumentCount == 2 && std::string(arguments[1]) == "--list") {
        for (const auto& work : works)
            std::printf("%s\n", work.first.c_str());
        return 0;
    }
    const auto work = argumentCount == 3 ? works.find(arguments[1]) : works.end();
    if (work == works.end()) {
        std::fprintf(stderr, "usage: %s --list | WORK COUNT\n", arguments[0]);
        return 2;
    }
    work->second(std::atoll(arguments[2]));
    return 0;
}
