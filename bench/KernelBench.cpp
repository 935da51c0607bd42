// Row kernels on one thread, in pixels per second. Fusing is compared with a plain table walk and with a copy
// of the same bytes; blends, colour conversions and the second pass of the sampler with their scalar
// definitions. Results are checked against these first; with --verify nothing is timed.
#include "TableWalk.h"
#include "kernels/BilinearRow.h"
#include "kernels/BlendRow.h"
#include "kernels/ConvertRow.h"
#include "kernels/CubicResampler.h"
#include "kernels/InjectionRow.h"
#include "kernels/Simd.h"
#include "kernels/Store.h"
#include "pansharp/Methods.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>

namespace {

using namespace kernels;

constexpr std::size_t rowPixels = 8192;

/// What a method's kernel is compared with: its table walk if it has one, else the scalar definition.
template <class T>
void RunMeasure(const PXL::Method& method, const T* ms, const T* pan, T* out, const bench::Tables& tables) {
    static const std::map<std::string, void (*)(const T*, const T*, T*, std::size_t, const bench::Tables&)>
        tableWalks = {{"KOVA", &bench::KovaTableWalk<T>}, {"Brovey", &bench::BroveyTableWalk<T>}};
    if (const auto found = tableWalks.find(method.description.keyword); found != tableWalks.end())
        return found->second(ms, pan, out, rowPixels, tables);
    double weights[8] = {};
    for (std::size_t b = 0; b < tables.size(); ++b)
        weights[b] = tables[b][1];
    const auto bands = static_cast<std::uint32_t>(tables.size());
    const InjectionGains gains{weights, weights};
    method.RowFor<T>(0)({ms, pan}, out, rowPixels, {weights, bands, bands, &gains});
}

template <class T>
struct Rows {
    explicit Rows(std::uint32_t bands)
        : ms(rowPixels * bands), other(rowPixels * bands), pan(rowPixels), out(rowPixels * (bands + 1)) {
        std::mt19937 random(1);
        for (auto* row : {&ms, &other, &pan})
            for (T& sample : *row)
                sample = static_cast<T>(random());
        for (std::size_t i = 0; i < ms.size(); ++i) {
            upper.push_back(ms[i]);
            lower.push_back(other[i]);
        }
        for (std::uint32_t b = 0; b < bands; ++b)
            weights.push_back(0.1 + 0.173 * b / bands);
        tables = bench::ProductTables<T>(weights);
    }
    /// All bands are written; the weights also serve as gains.
    [[nodiscard]] BandWeights GetBands() {
        gains = {weights.data(), weights.data()};
        const auto bands = static_cast<std::uint32_t>(weights.size());
        return {weights.data(), bands, bands, &gains};
    }
    std::vector<T> ms, other, pan, out;
    std::vector<WholeOf<T>> upper, lower; ///< spread source rows
    std::vector<double> weights;
    InjectionGains gains;
    bench::Tables tables;
};

template <class T>
bool Verify(const PXL::Method& method, SimdTarget target, std::uint32_t bands) {
    Rows<T> rows(bands);
    std::vector<T> expected(rows.out.size());
    RunMeasure(method, rows.ms.data(), rows.pan.data(), expected.data(), rows.tables);
    method.RowFor<T>(target)({rows.ms.data(), rows.pan.data()}, rows.out.data(), rowPixels, rows.GetBands());
    if (rows.out == expected) return true;
    std::fprintf(stderr, "%s on %s, %u bands of %zu bits: not the bytes of the table walk\n",
                 method.description.keyword, SimdTargetName(target).c_str(), bands, sizeof(T) * 8);
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

/// Kernels that are compared with their scalar definition.
template <class T>
struct OtherKernel {
    std::string name;
    std::uint32_t bands;
    std::function<void(SimdTarget, Rows<T>&)> run;
};

/// The maps of operators without properties.
template <class T>
BlendMaps<T> MapsOf(SampleBlend blend, std::uint32_t bands) {
    const std::vector<LinearMap> ofInput(bands);
    const std::vector<LinearMap> ofOutput(bands, {.gain = 1, .offset = 127.5});
    return {blend, ofInput, ofInput, ofOutput};
}

/// A method whose additional band is stored apart and is the whole intensity, like pan's low-pass; gains as
/// they are fitted.
template <class T>
OtherKernel<T> WithOneMore(const PXL::Method& method, std::uint32_t bands) {
    std::vector<double> weights(bands + 1);
    weights.back() = 1.0;
    return {method.description.keyword + std::string(" with one more"), bands,
            [=, &method](SimdTarget target, Rows<T>& rows) {
                static const std::vector<double> gains(8, 0.37), ratioGains(8, 0.61);
                const InjectionGains injection{gains.data(), ratioGains.data(), 2.0, maxSample<T> / 10};
                method.RowFor<T>(target)({rows.ms.data(), rows.pan.data(), rows.other.data()},
                                         rows.out.data(), rowPixels,
                                         {weights.data(), bands + 1, bands, &injection});
            }};
}

/// Rows of four bands, interpolated between four rows of a source that is coarser by a ratio.
template <class T>
class CubicRun {
public:
    explicit CubicRun(int finer) {
        const GridAxis axis = MakeGridAxis(1.0 / finer, 0.0);
        for (std::size_t i = 0; i < rowPixels; ++i)
            columns.push_back(PanToMultispectral(axis, static_cast<std::int64_t>(i)));
        down = MakeCubicTap(columns.front(), 4);
    }

    void operator()(SimdTarget target, Rows<T>& rows) {
        const std::array source{std::as_const(rows.ms).data(), std::as_const(rows.other).data(),
                                std::as_const(rows.ms).data(), std::as_const(rows.other).data()};
        if (target == 0) return Define(source, rows.out.data());
        auto& resampler = resamplers[target];
        if (!resampler)
            resampler = MakeCubicResampler<T>(columns, rowPixels, bands, WholeSteps(columns), target);
        resampler->Make(source, down, rows.out.data());
    }

private:
    void Define(const std::array<const T*, 4>& source, T* out) {
        std::vector<CubicTap> taps;
        for (const GridPosition& column : columns) {
            taps.push_back(MakeCubicTap(column, rowPixels));
            for (std::uint32_t& at : taps.back().at)
                at *= bands;
        }
        std::array<std::vector<double>, 4> across;
        for (std::size_t i = 0; i < across.size(); ++i) {
            across[i].resize(rowPixels * bands);
            CubicAcross(source[i], taps.data(), rowPixels, bands, across[i].data());
        }
        CubicDown({across[0].data(), across[1].data(), across[2].data(), across[3].data()}, down.weights,
                  rowPixels * bands, out);
    }

    static constexpr std::uint32_t bands = 4;
    std::vector<GridPosition> columns;
    CubicTap down;
    std::map<SimdTarget, std::shared_ptr<CubicResampler<T>>> resamplers;
};

template <class T>
std::vector<OtherKernel<T>> OtherKernels() {
    std::vector<OtherKernel<T>> all;
    for (const std::uint32_t bands : {3u, 4u, 8u})
        for (const PXL::Method& method : PXL::Methods())
            all.push_back(WithOneMore<T>(method, bands));
    const auto add = [&](const char* name, std::uint32_t bands, auto run) {
        all.push_back({name, bands, run});
    };
    static const std::pair<const char*, SampleBlend> blends[] = {
        {"blend sum", SampleBlend::Sum},
        {"blend product", SampleBlend::Product},
        {"blend quotient", SampleBlend::Quotient},
        {"blend difference", SampleBlend::Difference}};
    for (const std::uint32_t bands : {3u, 4u, 8u}) {
        for (const auto& [name, blend] : blends)
            add(name, bands, [bands, maps = MapsOf<T>(blend, bands)](SimdTarget target, Rows<T>& rows) {
                BlendKernelsFor<T>(target).samples(rows.ms.data(), rows.other.data(), rows.out.data(),
                                                   rowPixels, bands, maps);
            });
        add("largest difference", bands, [bands](SimdTarget target, Rows<T>& rows) {
            BlendKernelsFor<T>(target).largestDifference(rows.ms.data(), rows.other.data(), rows.out.data(),
                                                         rowPixels, bands, {});
        });
        add("mask", bands, [bands](SimdTarget target, Rows<T>& rows) {
            BlendKernelsFor<T>(target).mask(rows.ms.data(), rows.pan.data(), rows.out.data(), rowPixels,
                                            bands, 0, rows.other.data());
        });
    }
    for (const std::uint32_t bands : {3u, 4u, 7u})
        add("merge with one more", bands, [bands](SimdTarget target, Rows<T>& rows) {
            BlendKernelsFor<T>(target).merge(rows.ms.data(), bands, rows.pan.data(), 1, rows.out.data(),
                                             rowPixels);
        });
    static const std::pair<const char*, Conversion> conversions[] = {{"RGB to YUV", Conversion::RgbToYuv},
                                                                     {"YUV to RGB", Conversion::YuvToRgb},
                                                                     {"RGB to HSI", Conversion::RgbToHsi},
                                                                     {"HSI to RGB", Conversion::HsiToRgb}};
    for (const auto& [name, conversion] : conversions)
        add(name, 3, [conversion = conversion](SimdTarget target, Rows<T>& rows) {
            ConvertRowFor<T>(conversion, target)(rows.ms.data(), rows.out.data(), rowPixels);
        });
    add("sampling down", 4, [](SimdTarget target, Rows<T>& rows) {
        DownRowWholeFor<T>(target)(rows.upper.data(), rows.lower.data(), 3, 8, 1, rows.upper.size(),
                                   rows.out.data());
    });
    add("cubic sampling, ratio 3", 4, CubicRun<T>(3));
    add("cubic sampling, ratio 4", 4, CubicRun<T>(4));
    return all;
}

template <class T>
bool RegisterOther(const OtherKernel<T>& kernel) {
    bool right = true;
    Rows<T> expected(kernel.bands);
    kernel.run(0, expected);
    for (const SimdTarget target : SimdTargets()) {
        Rows<T> actual(kernel.bands);
        kernel.run(target, actual);
        if (actual.out != expected.out) {
            std::fprintf(stderr, "%s on %s, %u bands of %zu bits: not the bytes of the definition\n",
                         kernel.name.c_str(), SimdTargetName(target).c_str(), kernel.bands, sizeof(T) * 8);
            right = false;
        }
        Register<T>(kernel.name + "/" + SimdTargetName(target), kernel.bands,
                    [kernel, target](Rows<T>& rows) { kernel.run(target, rows); });
    }
    return right;
}

template <class T>
bool RegisterAll() {
    bool right = true;
    for (const std::uint32_t bands : {3u, 4u, 8u}) {
        for (const PXL::Method& method : PXL::Methods()) {
            const std::string name = method.description.keyword;
            Register<T>(name + "/table", bands, [&method](Rows<T>& rows) {
                RunMeasure(method, rows.ms.data(), rows.pan.data(), rows.out.data(), rows.tables);
            });
            for (const SimdTarget target : SimdTargets()) {
                right = Verify<T>(method, target, bands) && right;
                Register<T>(
                    name + "/" + SimdTargetName(target), bands,
                    [row = method.RowFor<T>(target)](Rows<T>& rows) {
                        row({rows.ms.data(), rows.pan.data()}, rows.out.data(), rowPixels, rows.GetBands());
                    });
            }
        }
        Register<T>("copy", bands, [](Rows<T>& rows) {
            std::memcpy(rows.out.data(), rows.ms.data(), rows.ms.size() * sizeof(T));
        });
    }
    for (const auto& kernel : OtherKernels<T>())
        right = RegisterOther(kernel) && right;
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
