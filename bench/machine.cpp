// What the figures were measured on, asked at run time.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <ctime>
#include <fstream>

#include "core/owncpu.h"
#include "results.h"

namespace {

std::string processorName() {
    std::ifstream in("/proc/cpuinfo");
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
    }
    return "unknown";
}

std::string sizeText(int bytes) {
    return bytes % (1 << 20) == 0 ? std::to_string(bytes >> 20) + " MiB" : std::to_string(bytes >> 10) + " KiB";
}

std::string compilerName() {
#if defined(__clang__)
    return "Clang " __clang_version__;
#elif defined(__GNUC__)
    return "GCC " __VERSION__;
#else
    return "unknown";
#endif
}

}  // namespace

Facts machineFacts() {
    const benchmark::CPUInfo &cpu = benchmark::CPUInfo::Get();
    Facts facts;
    facts.push_back({"Processor", processorName()});
    facts.push_back({"Cores seen", std::to_string(cpu.num_cpus)});
    for (const auto &cache : cpu.caches) {
        const std::string kind = cache.type == "Unified" ? "" : " " + cache.type;
        facts.push_back({"Cache L" + std::to_string(cache.level) + kind, sizeText(cache.size)});
    }
    facts.push_back({"Highest CPU level", LEVEL_NAMES[ownHighestCpuLevel()]});
    facts.push_back({"Compiler", compilerName()});
    char date[16];
    const std::time_t now = std::time(nullptr);
    std::strftime(date, sizeof date, "%Y-%m-%d", std::gmtime(&now));
    facts.push_back({"Date", date});
    if (!cpu.load_avg.empty()) {
        char load[16];
        std::snprintf(load, sizeof load, "%.1f", cpu.load_avg[0]);
        facts.push_back({"Load average at the start", load});
    }
    return facts;
}
