// Work spread over processes. What one of them does cannot harm the others: where one is lost, its
// piece is done once more by another.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace earshot_tool {

struct worker_tasks {
    // Does a piece, in a process of its own with a copy of all that there is; answers in one line.
    std::function<std::string(std::size_t piece)> work;

    // What the caller gets, in the order in which pieces end: the answer, or how the processes
    // ended that have tried it.
    std::function<void(std::size_t piece, const std::string &answer)> done;
    std::function<void(std::size_t piece, const std::string &how)> lost;

    // After a process was lost in the midst of a piece.
    std::function<void(std::size_t piece, pid_t process)> clean_up;

    // A few times a second.
    std::function<void()> tick;
};

// Does pieces 0 to count - 1 with so many processes, which are forked: the program has no threads
// by then. Returns the signal that has interrupted it, when all of them have ended; nothing where
// all is done.
std::optional<int> run_workers(std::size_t processes, std::size_t count, const worker_tasks &tasks);

} // namespace earshot_tool
