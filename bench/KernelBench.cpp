// Row kernels, one thread, in pixels a second, beside a plain table walk and a copy of the same bytes. Every
// kernel is compared with the table walk first; with --verify nothing is timed.
#include "TableWalk.h"
#include "kernels/BroveyRow.h"
#include "kernels/IhsRow.h"
#include "kernels/KovaRow.h"
#include "kernels/Simd.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>

namespace {

using namespace kernels;

constexpr std::size_t rowPixels = 8192;

template <class T>
struct Method {
    const char* name;
    void (*tableWalk)(const T*, const T*, T*, std::size_t, const bench::Tables&);
    FuseRow<T> (*rowFor)(SimdTarget);
};

/// IHS is arithmetic but for two tables: its measure is the scalar definition.
template <class T>
void IhsDefinition(const T* ms, const T* pan, T* out, std::size_t pixels, const bench::Tables& tables) {
    double weights[8] = {};
    for (std::size_t b = 0; b < tables.size(); ++b)
        weights[b] = tables[b][1];
    const auto bands = static_cast<std::uint32_t>(tables.size());
    IhsRowScalar(ms, pan, out, pixels, {weights, bands, bands});
}

template <class T>
const std::vector<Method<T>> methods = {{"KOVA", &bench::KovaTableWalk<T>, &KovaRowFor<T>},
                                        {"Brovey", &bench::BroveyTableWalk<T>, &BroveyRowFor<T>},
                                        {"IHS", &IhsDefinition<T>, &IhsRowFor<T>}};

template <class T>
struct Rows {
    explicit Rows(std::uint32_t bands) : ms(rowPixels * bands), pan(rowPixels), out(rowPixels * bands) {
        std::mt19937 random(1);
        for (T& sample : ms)
            sample = static_cast<T>(random());
        for (T& sample : pan)
            sample = static_cast<T>(random());
        for (std::uint32_t b = 0; b < bands; ++b)
            weights.push_back(0.1 + 0.173 * b / bands);
        tables = bench::ProductTables<T>(weights);
    }
    std::vector<T> ms, pan, out;
    std::vector<double> weights;
    bench::Tables tables;
};

template <class T>
bool Verify(const Method<T>& method, SimdTarget target, std::uint32_t bands) {
    Rows<T> rows(bands);
    std::vector<T> expected(rows.out.size());
    method.tableWalk(rows.ms.data(), rows.pan.data(), expected.data(), rowPixels, rows.tables);
    method.rowFor(target)(rows.ms.data(), rows.pan.data(), rows.out.data(), rowPixels,
                          {rows.weights.data(), bands, bands});
    if (rows.out == expected) return true;
    std::fprintf(stderr, "%s on %s, %u bands of %zu bits: not the bytes of the table walk\n", method.name,
                 SimdTargetName(target).c_str(), bands, sizeof(T) * 8);
    return false;
}

template <class T, class Work>
void Register(const std::string& name, std::uint32_t bands, Work work) {
    const std::string full =
        name + "/" + std::to_string(sizeof(T) * 8) + "bit/" + std::to_string(bands) + "bands";
    benchmark::RegisterBenchmark(full.c_str(), [bands, work](benchmark::State& state) {
        Rows<T> rows(bands);
        for (auto _ : state) {
            work(rows);
            benchmark::ClobberMemory();
        }
        const auto pixels = static_cast<double>(state.iterations()) * static_cast<double>(rowPixels);
        state.counters["pixels"] = benchmark::Counter(pixels, benchmark::Counter::kIsRate);
        state.counters["bytes"] =
            benchmark::Counter(pixels * sizeof(T) * (2.0 * bands + 1), benchmark::Counter::kIsRate);
    });
}

template <class T>
bool RegisterAll() {
    bool right = true;
    for (const std::uint32_t bands : {3u, 4u, 8u}) {
        for (const Method<T>& method : methods<T>) {
            const std::string name = method.name;
            Register<T>(name + "/table", bands, [method](Rows<T>& rows) {
                method.tableWalk(rows.ms.data(), rows.pan.data(), rows.out.data(), rowPixels, rows.tables);
            });
            for (const SimdTarget target : SimdTargets()) {
                right = Verify(method, target, bands) && right;
                Register<T>(name + "/" + SimdTargetName(target), bands,
                            [row = method.rowFor(target), bands](Rows<T>& rows) {
                                row(rows.ms.data(), rows.pan.data(), rows.out.data(), rowPixels,
                                    {rows.weights.data(), bands, bands});
                            });
            }
        }
        Register<T>("copy", bands, [](Rows<T>& rows) {
            std::memcpy(rows.out.data(), rows.ms.data(), rows.out.size() * sizeof(T));
        });
    }
    return right;
}

} // namespace

int main(int argc, char** argv) {
    const bool right8 = RegisterAll<unsigned char>();
    const bool right16 = RegisterAll<unsigned short>();
    if (!right8 || !right16) return 1;
    if (argc == 2 && std::strcmp(argv[1], "--verify") == 0) return 0;
    benchmark::AddCustomContext("simd in use", SimdTargetName(ChosenSimdTarget()));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
