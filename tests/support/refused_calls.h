// SPDX-License-Identifier: GPL-3.0-or-later
// System calls that fail as on a bad disk or another file system, in a test's own process.
#pragma once

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <stdexcept>
#include <thread>
#include <vector>

namespace vistrel::test {

struct RefusedCall {
    int number;
    int error;
    // Only calls whose argument of this index, from 0 on, has all these bits.
    int argument = 0;
    std::uint32_t bits = 0;
};

inline std::vector<sock_filter> FilterOf(const std::vector<RefusedCall>& calls) {
    std::vector<sock_filter> steps;
    for (const RefusedCall& call : calls) {
        const auto argument = static_cast<std::uint32_t>(
            offsetof(seccomp_data, args) +
            sizeof(std::uint64_t) * static_cast<std::size_t>(call.argument));
        steps.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)));
        steps.push_back(
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(call.number), 0, 4));
        steps.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, argument));
        steps.push_back(BPF_STMT(BPF_ALU | BPF_AND | BPF_K, call.bits));
        steps.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call.bits, 0, 1));
        steps.push_back(
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(call.error)));
    }
    steps.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    return steps;
}

// Runs `work` on a thread of its own, which the kernel refuses these calls. Throws what `work`
// throws, and std::runtime_error where the system cannot do that.
inline void WithRefusedCalls(const std::vector<RefusedCall>& calls,
                             const std::function<void()>& work) {
    std::vector<sock_filter> steps = FilterOf(calls);
    const sock_fprog program = {static_cast<unsigned short>(steps.size()), steps.data()};
    std::exception_ptr failure;
    std::thread([&] {
        try {
            if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
                prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
                throw std::runtime_error("this system filters no calls");
            }
            work();
        } catch (...) {
            failure = std::current_exception();
        }
    }).join();
    if (failure) std::rethrow_exception(failure);
}

}  // namespace vistrel::test
