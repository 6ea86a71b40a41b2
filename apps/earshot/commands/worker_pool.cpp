#include "commands/worker_pool.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <deque>
#include <memory>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "audio/sample_writer.hpp"
#include "error.hpp"

namespace earshot_tool {

namespace {

constexpr int most_tries = 2;
constexpr std::array<int, 3> ending_signals = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t arrived = 0;

extern "C" void note_signal(int number) { arrived = number; }

// While there are workers, signals that end the program wait for the moment between two steps.
class signals_noted {
  public:
    signals_noted() {
        arrived = 0;
        sigset_t ending;
        sigemptyset(&ending);
        for (const int number : ending_signals) sigaddset(&ending, number);
        sigprocmask(SIG_BLOCK, &ending, &mask_);
        struct sigaction action {};
        action.sa_handler = note_signal;
        sigemptyset(&action.sa_mask);
        for (std::size_t k = 0; k < ending_signals.size(); ++k) {
            sigaction(ending_signals[k], nullptr, &actions_[k]);
            if (actions_[k].sa_handler != SIG_IGN) sigaction(ending_signals[k], &action, nullptr);
        }
    }
    ~signals_noted() { restore(); }
    signals_noted(const signals_noted &) = delete;
    signals_noted &operator=(const signals_noted &) = delete;

    // Also for a worker, which ends by them as any program.
    void restore() const {
        for (std::size_t k = 0; k < ending_signals.size(); ++k)
            sigaction(ending_signals[k], &actions_[k], nullptr);
        sigprocmask(SIG_SETMASK, &mask_, nullptr);
    }

    // While waiting, they may arrive.
    const sigset_t &mask() const { return mask_; }

  private:
    sigset_t mask_;
    std::array<struct sigaction, ending_signals.size()> actions_{};
};

bool read_all(int descriptor, void *bytes, std::size_t count) {
    auto *at = static_cast<char *>(bytes);
    while (count > 0) {
        const ssize_t got = read(descriptor, at, count);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        at += got;
        count -= static_cast<std::size_t>(got);
    }
    return true;
}

// "signal 9 (Killed)".
std::string ending_text(int status) {
    if (WIFSIGNALED(status))
        return "signal " + std::to_string(WTERMSIG(status)) + " (" + strsignal(WTERMSIG(status)) +
               ")";
    return "exit code " + std::to_string(WEXITSTATUS(status));
}

int wait_for(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

// The caller's end of a worker.
struct worker {
    pid_t process;
    int channel;
    std::optional<std::size_t> piece;
    std::string answer{}; // as far as it has come
};

class pool {
  public:
    pool(std::size_t count, const worker_tasks &tasks)
        : tasks_(tasks), left_(count), tries_(count, 0) {
        for (std::size_t k = 0; k < count; ++k) waiting_.push_back(k);
    }
    ~pool() {
        for (const worker &each : workers_) kill(each.process, SIGTERM);
        for (const worker &each : workers_) {
            close(each.channel);
            wait_for(each.process);
        }
    }
    pool(const pool &) = delete;
    pool &operator=(const pool &) = delete;

    std::optional<int> run(std::size_t processes) {
        while (left_ > 0) {
            while (workers_.size() < processes && !waiting_.empty()) add_worker();
            if (arrived != 0) return arrived;
            listen();
            tasks_.tick();
        }
        return std::nullopt;
    }

  private:
    void add_worker() {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
            throw processing_error("cannot start a worker", system_cause(errno));
        const pid_t caller = getpid();
        const pid_t process = fork();
        if (process == 0) {
            close(ends[0]);
            serve(ends[1], caller);
        }
        const int error = errno;
        close(ends[1]);
        if (process < 0) {
            close(ends[0]);
            throw processing_error("cannot start a worker", system_cause(error));
        }
        workers_.push_back({process, ends[0], std::nullopt});
        give_piece(workers_.back());
    }

    // Ends with its caller, however that ends.
    [[noreturn]] void serve(int channel, pid_t caller) const {
        for (const worker &other : workers_) close(other.channel);
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        signals_.restore();
        std::uint64_t piece = 0;
        while (getppid() == caller && read_all(channel, &piece, sizeof piece)) {
            const std::string answer = tasks_.work(piece) + "\n";
            if (write_all(channel, answer.data(), answer.size()) != 0) break;
        }
        _exit(0);
    }

    // A worker that is gone is found when it is listened to.
    void give_piece(worker &to) {
        if (waiting_.empty()) return;
        const std::uint64_t piece = waiting_.front();
        waiting_.pop_front();
        to.piece = piece;
        write_all(to.channel, &piece, sizeof piece);
    }

    void listen() {
        std::vector<pollfd> channels;
        for (const worker &each : workers_) channels.push_back({each.channel, POLLIN, 0});
        const timespec fifth{0, 200'000'000};
        if (ppoll(channels.data(), channels.size(), &fifth, &signals_.mask()) <= 0) return;
        std::vector<pid_t> gone;
        for (std::size_t k = 0; k < channels.size(); ++k)
            if (channels[k].revents != 0 && !hear(workers_[k])) gone.push_back(workers_[k].process);
        for (const pid_t process : gone) remove(process);
    }

    // False where it has ended.
    bool hear(worker &from) {
        char block[4096];
        const ssize_t got = read(from.channel, block, sizeof block);
        if (got < 0 && errno == EINTR) return true;
        if (got <= 0) return false;
        from.answer.append(block, static_cast<std::size_t>(got));
        if (from.answer.back() != '\n' || !from.piece) return true;
        from.answer.pop_back();
        const std::size_t piece = *from.piece;
        const std::string answer = std::move(from.answer);
        from.piece.reset();
        from.answer.clear();
        give_piece(from);
        --left_;
        tasks_.done(piece, answer);
        return true;
    }

    void remove(pid_t process) {
        const auto found = std::find_if(workers_.begin(), workers_.end(), [&](const worker &each) {
            return each.process == process;
        });
        const auto piece = found->piece;
        close(found->channel);
        workers_.erase(found);
        const std::string how = ending_text(wait_for(process));
        if (!piece) return;
        tasks_.clean_up(*piece, process);
        if (++tries_[*piece] < most_tries) {
            waiting_.push_back(*piece);
            return;
        }
        --left_;
        tasks_.lost(*piece, how);
    }

    const worker_tasks &tasks_;
    signals_noted signals_;
    std::vector<worker> workers_;
    std::deque<std::size_t> waiting_;
    std::size_t left_;
    std::vector<int> tries_;
};

} // namespace

std::optional<int> run_workers(std::size_t processes, std::size_t count,
                               const worker_tasks &tasks) {
    return pool(count, tasks).run(processes);
}

} // namespace earshot_tool
