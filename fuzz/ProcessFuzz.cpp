// The built plug-in under a server that does everything wrong: arbitrary properties, windows, depths and band
// counts, rasters of unexpected size, refusals, null rows, exceptions, and calls in any order.
#include "Input.h"

#include "host/PropertyNames.h"
#include "plugin/FakeHost.h"
#include "plugin/PluginFile.h"

using namespace fakehost;
using fuzz::Require;
namespace PropertyNames = KOVA::Tessara::PropertyNames;

namespace {

const Plugin plugin;

/// Names of properties: of the process, and of all methods' parameters for two bands.
std::vector<std::string> Names() {
    std::vector<std::string> all = {PropertyNames::method, PropertyNames::outputBands};
    for (const PansharpProperty& property :
         std::span(plugin.Describe().properties, plugin.Describe().propertyCount))
        all.emplace_back(property.name);
    for (const PansharpMethod& method : plugin.Methods()) {
        for (const auto& parameter : std::span(method.bandParameters, method.bandParameterCount)) {
            for (std::size_t band = 0; band < 2; ++band)
                if (parameter.band.name) all.push_back(PropertyNames::OfBand(parameter.band, band));
            if (parameter.additional.name) all.emplace_back(parameter.additional.name);
        }
        for (const auto& parameter : std::span(method.scalarParameters, method.scalarParameterCount))
            all.emplace_back(parameter.property.name);
    }
    return all;
}

std::vector<std::string> Values() {
    std::vector<std::string> all = {"ms",    "ir",  "",      "true", "no", "1",     "2",          "4", "-1",
                                    "1e308", "0.5", "-0.25", "nan",  "0",  "70000", "4294967297", " "};
    for (const PansharpMethod& method : plugin.Methods())
        all.emplace_back(method.keyword);
    return all;
}

const std::vector<std::string> names = Names(), values = Values();
constexpr std::uint32_t someBits[] = {8, 16, 8, 16, 8, 16, 12, 0};
constexpr std::uint32_t someSizes[] = {40, 40, 40, 17, 1, 0, 20'000, 0xFFFFFFFFu};
constexpr std::uint32_t someBands[] = {1, 3, 4, 8, 9, 0, 2, 5};
constexpr std::uint32_t someEnds[] = {0, 1, 2, 17, 39, 40, 41, 0xFFFFFFFFu};

unsigned Sample(std::uint32_t column, std::uint32_t row, std::uint32_t band) {
    return column * 2654435761u + row * 40503u + band * 977u;
}

FakeImage TakeImage(fuzz::Input& input, std::uint32_t bits) {
    FakeImage image;
    image.sample = Sample;
    image.bands = input.Pick(someBands);
    image.bits = bits;
    const auto faults = input.Take<std::uint16_t>();
    if (faults & 1) image.bits = input.Pick(someBits);
    if (faults & 2) image.extraColumns = static_cast<int>(input.Below(80)) - 40;
    if (faults & 4) image.extraRows = static_cast<int>(input.Below(80)) - 40;
    image.initializeFails = (faults & 0x1C0) == 0x1C0;
    image.createFails = (faults & 0xE00) == 0xE00;
    image.prepare = [faults](FakeRaster& raster) {
        raster.windowFails = (faults & 0x1080) == 0x1080;
        // A raster that only claims to be large has no rows.
        raster.rowFails = (faults & 0x2100) == 0x2100 || raster.info.cols > 200;
        raster.throws = (faults & 0x4200) == 0x4200;
        raster.hasInfo = (faults & 0x8400) != 0x8400;
    };
    return image;
}

RasterInfo TakePan(fuzz::Input& input) {
    RasterInfo info;
    info.bitsPerBand = input.Pick(someBits);
    info.cols = input.Pick(someSizes);
    info.rows = input.Pick(someSizes);
    info.bandsPerPixel = input.Below(8) == 0 ? input.Pick(someBands) : 1;
    return info;
}

/// One server and one process, with the calls that the input asks for.
class Server {
public:
    explicit Server(fuzz::Input& bytes)
        : input(bytes), workspace(log), pan("pan", log, TakePan(bytes), Sample) {
        for (const char* id : {"ms", "ir"})
            workspace.images[id] = TakeImage(input, pan.info.bitsPerBand);
        if (input.Flag()) workspace.images["ir"].bands = 1;
        NameValueMap map;
        map["MSImageID"] = "ms";
        for (std::uint32_t count = input.Below(6); count > 0; --count)
            SetEntry(map);
        process = plugin.Create(&map);
        Require(process != nullptr, "properties make an object");
        process->SetInputRaster(&pan);
        process->SetWorkspace(static_cast<IRasterWorkspace*>(&workspace));
        process->SetAoi(&aoi);
    }
    ~Server() {
        process->SetWorkspace(static_cast<IRasterWorkspace*>(&workspace)); // it may have been removed
        plugin.Destroy(&process);
        Require(workspace.Outstanding() == 0, "every chain goes back");
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    void Run() {
        Act(Init);
        Act(SetWindow);
        for (int calls = 0; calls < 64 && !input.IsEmpty(); ++calls) {
            Act(input.Below(Actions));
            Require(process->GetStatus().GetCount() < 2000, "the status is bounded");
        }
    }

private:
    enum : std::uint32_t { Init, SetWindow, ReadRow, ReadRows, Change, Attach, Describe, Faults, Actions };

    void SetEntry(NameValueMap& map) {
        const std::string name = input.Pick(names);
        map[name] = input.Flag() ? input.Pick(values) : input.Line();
    }

    void Act(std::uint32_t action) {
        log.clear();
        workspace.obtained.clear();
        workspace.initialized.clear();
        switch (action) {
        case Init:
            windowed = false;
            Require(process->Init() != 0 || process->GetStatus().GetCount() > 0,
                    "a failed Init has a reason");
            return;
        case Describe: // a changed raster requires at least a new window
            pan.info = TakePan(input);
            [[fallthrough]];
        case SetWindow:
            return OpenWindow();
        case ReadRow:
            return Read(input.Take<std::uint32_t>());
        case ReadRows:
            for (std::uint32_t row = window.row0; row < window.row1 && row < window.row0 + 3; ++row)
                Read(row);
            return;
        case Change:
            return ChangeProperties();
        case Attach:
            process->SetWorkspace(input.Below(4) == 0 ? nullptr : static_cast<IRasterWorkspace*>(&workspace));
            process->SetAoi(input.Below(4) == 0 ? nullptr : &aoi);
            process->SetInputRaster(input.Flag() ? nullptr : &pan);
            return;
        default:
            pan.windowFails = input.Below(4) == 0;
            pan.rowFails = input.Below(4) == 0;
            pan.throws = input.Below(8) == 0;
            pan.hasInfo = input.Below(8) != 0;
            pan.initFails = input.Below(8) == 0;
        }
    }

    void ChangeProperties() {
        const std::string name = input.Pick(names);
        const std::string value = input.Line();
        process->SetProperty(name, value);
        process->GetProperty(name);
        process->ToString();
        process->GetMetadata();
        NameValueMap map;
        if (input.Flag()) SetEntry(map);
        process->SetProperties(&map);
        for (const char* id : {"ms", "ir"})
            switch (input.Below(16)) {
            case 0:
                workspace.images.erase(id);
                break;
            case 1:
            case 2:
                workspace.images[id] = TakeImage(input, pan.info.bitsPerBand);
            }
    }

    void OpenWindow() {
        const bool small = input.Flag();
        window.col0 = small ? input.Below(40) : input.Pick(someEnds);
        window.row0 = small ? input.Below(40) : input.Pick(someEnds);
        window.col1 = small ? window.col0 + input.Below(41 - window.col0) : input.Pick(someEnds);
        window.row1 = small ? window.row0 + input.Below(41 - window.row0) : input.Pick(someEnds);
        // The server has rows only for narrow windows, however large the raster claims to be.
        if (window.col1 > 64 && window.col1 - window.col0 > 64) window.col1 = 0;
        windowed = process->SetWindow(window.col0, window.row0, window.col1, window.row1) != 0;
        if (!windowed && process->GetStatus().GetCount() == 0) Require(!IsBound(), "a refusal has a reason");
    }
    // A process that was never initialised returns failures without items.
    [[nodiscard]] bool IsBound() const { return process->GetRasterInfo()->bitsPerBand != 0; }

    void Read(std::uint32_t row) {
        const unsigned char* bytes = process->GetRow(row);
        if (!bytes) return;
        Require(windowed && row >= window.row0 && row < window.row1, "rows of the window only");
        const RasterInfo& info = *process->GetRasterInfo();
        fuzz::ReadAll(bytes,
                      std::size_t{window.col1 - window.col0} * info.bandsPerPixel * info.bitsPerBand / 8);
    }

    fuzz::Input& input;
    Log log;
    FakeWorkspace workspace;
    FakeRaster pan;
    Aoi aoi;
    IRasterProcess* process = nullptr;
    bool windowed = false;
    struct {
        std::uint32_t col0 = 0, row0 = 0, col1 = 0, row1 = 0;
    } window;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    Server(input).Run();
    return 0;
}
