// SPDX-License-Identifier: GPL-3.0-or-later
// Runs the benchmarks of a program. Standard output shows their results only: the engine's own log,
// which goes there too, is dropped.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return EXIT_FAILURE;

    // Appending, since opening a file anew would cut off what it holds already.
    std::ofstream results("/dev/fd/" + std::to_string(dup(STDOUT_FILENO)), std::ios::app);
    if (std::freopen("/dev/null", "w", stdout) == nullptr) return EXIT_FAILURE;
    const std::unique_ptr<benchmark::BenchmarkReporter> reporter(
        benchmark::CreateDefaultDisplayReporter());
    reporter->SetOutputStream(&results);
    reporter->SetErrorStream(&results);
    benchmark::RunSpecifiedBenchmarks(reporter.get());
    benchmark::Shutdown();
}
