// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/faults/tracer.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace vistrel::test {
namespace {

constexpr int kCannotRun = 127;

// From here on the calling process stops for its tracer before every call of a file. So do its
// children, and all other calls keep their speed.
bool StopAtFileCalls(const std::vector<int>& numbers) {
    const auto count = static_cast<std::uint8_t>(numbers.size());
    std::vector<sock_filter> steps;
    steps.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)));
    for (std::uint8_t i = 0; i < count; ++i) {
        const auto number = static_cast<std::uint32_t>(numbers[i]);
        const auto toTheLast = static_cast<std::uint8_t>(count - i);
        steps.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, toTheLast, 0));
    }
    steps.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    steps.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE));
    const sock_fprog program = {static_cast<unsigned short>(steps.size()), steps.data()};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

[[noreturn]] void BecomeCommand(char* const* command, const std::vector<int>& numbers) {
    raise(SIGSTOP);  // until the tracer is there
    if (StopAtFileCalls(numbers)) execvp(command[0], command);
    _exit(kCannotRun);
}

pid_t StartTraced(char* const* command) {
    const std::vector<int> numbers = FileCallNumbers();
    const pid_t child = fork();
    if (child < 0) throw std::system_error(errno, std::generic_category(), "fork");
    if (child == 0) BecomeCommand(command, numbers);
    int status = 0;
    waitpid(child, &status, WUNTRACED);
    constexpr long kOptions = PTRACE_O_EXITKILL | PTRACE_O_TRACECLONE | PTRACE_O_TRACEFORK |
                              PTRACE_O_TRACEVFORK | PTRACE_O_TRACEEXEC | PTRACE_O_TRACESECCOMP |
                              PTRACE_O_TRACESYSGOOD;
    if (ptrace(PTRACE_SEIZE, child, nullptr, kOptions) != 0) {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
        throw NoTracing("this system allows no tracing");
    }
    kill(child, SIGCONT);
    return child;
}

class Tracer {
  public:
    Tracer(pid_t child, const std::function<Verdict(const FileCall&)>& judge)
        : child_(child), judge_(judge) {}

    int Run() {
        int status = 0;
        for (pid_t thread = 0; (thread = waitpid(-1, &status, __WALL)) > 0;) {
            if (WIFSTOPPED(status)) {
                OnStop(thread, status);
            } else if (thread == child_) {
                exitStatus_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            }
        }
        return exitStatus_;
    }

  private:
    void OnStop(pid_t thread, int status) {
        constexpr int kAfterCall = SIGTRAP | 0x80;
        const int signal = WSTOPSIG(status);
        const int event = status >> 16;
        if (event == PTRACE_EVENT_SECCOMP) {
            BeforeCall(thread);
        } else if (event == PTRACE_EVENT_STOP && signal != SIGTRAP) {
            ptrace(PTRACE_LISTEN, thread, nullptr, nullptr);  // stopped like anybody, by a signal
        } else if (signal == kAfterCall) {
            AfterCall(thread);
            Continue(thread);
        } else {
            Continue(thread, event == 0 ? signal : 0);
        }
    }

    void BeforeCall(pid_t thread) {
        user_regs_struct registers = {};
        ptrace(PTRACE_GETREGS, thread, nullptr, &registers);
        const auto call = ReadFileCall(thread, registers);
        const Verdict verdict = call ? judge_(*call) : Verdict::kPass;
        if (verdict == Verdict::kPass) return Continue(thread);
        if (verdict == Verdict::kKill) {
            kill(thread, SIGKILL);
            return Continue(thread);
        }
        if (verdict == Verdict::kHalf) {
            registers.rdx = std::max<std::uint64_t>(registers.rdx / 2, 1);
        } else if (call->isDone) {
            errors_[thread] = call->error;
            ptrace(PTRACE_SYSCALL, thread, nullptr, nullptr);  // stops once more, after the call
            return;
        } else {
            registers.orig_rax = ~0ULL;  // no call at all
            registers.rax = Failure(verdict == Verdict::kUnknown ? EOPNOTSUPP : call->error);
        }
        ptrace(PTRACE_SETREGS, thread, nullptr, &registers);
        Continue(thread);
    }

    void AfterCall(pid_t thread) {
        const auto error = errors_.extract(thread);
        if (error.empty()) return;
        user_regs_struct registers = {};
        ptrace(PTRACE_GETREGS, thread, nullptr, &registers);
        registers.rax = Failure(error.mapped());
        ptrace(PTRACE_SETREGS, thread, nullptr, &registers);
    }

    static std::uint64_t Failure(int error) { return static_cast<std::uint64_t>(-error); }

    static void Continue(pid_t thread, int signal = 0) {
        ptrace(PTRACE_CONT, thread, nullptr, static_cast<long>(signal));
    }

    pid_t child_;
    const std::function<Verdict(const FileCall&)>& judge_;
    std::map<pid_t, int> errors_;  // of threads in a call that will have failed
    int exitStatus_ = 0;
};

}  // namespace

int RunTraced(char* const* command, const std::function<Verdict(const FileCall&)>& judge) {
    return Tracer(StartTraced(command), judge).Run();
}

}  // namespace vistrel::test
