#include "Child.h"
#include "Scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <sys/stat.h>

using child::Arguments;
using testing::AnyOf;
using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;

using Files = std::map<std::string, std::string>;

/// Kind, permissions and bytes of every file in a folder and below.
Files Look(const child::Folder& folder) {
    Files files;
    for (const auto& entry : fs::recursive_directory_iterator(folder.path)) {
        const std::string name = entry.path().lexically_relative(folder.path).string();
        if (name == ".stdout" || name == ".stderr") continue;
        std::string& text = files[name];
        text = std::to_string(static_cast<int>(entry.symlink_status().permissions())) + ' ' +
               std::to_string(static_cast<int>(entry.symlink_status().type())) + ' ';
        if (!fs::is_regular_file(entry.symlink_status())) continue;
        std::ifstream file(entry.path(), std::ios::binary);
        text.append(std::istreambuf_iterator<char>(file), {});
    }
    return files;
}

/// Names of files that are new or have changed.
std::vector<std::string> Changed(const Files& before, const Files& after) {
    std::vector<std::string> names;
    for (const auto& [name, text] : after)
        if (const auto old = before.find(name); old == before.end() || old->second != text)
            names.push_back(name);
    for (const auto& [name, text] : before)
        if (!after.contains(name)) names.push_back(name + " is gone");
    return names;
}

void WriteText(const std::string& name, const std::string& text) { std::ofstream(name) << text; }

/// A raster of one band that refers to another file.
void WriteVrt(const std::string& name, const std::string& source) {
    WriteText(name, "<VRTDataset rasterXSize='23' rasterYSize='19'><GeoTransform>500000,20,0,4600000,0,-20"
                    "</GeoTransform><VRTRasterBand dataType='Byte' band='1'><SimpleSource><SourceFilename "
                    "relativeToVRT='1'>" +
                        source +
                        "</SourceFilename><SourceBand>1</SourceBand></SimpleSource></VRTRasterBand>"
                        "</VRTDataset>");
}

/// The pair, and everything else that may be given as an input.
void MakeInputs(const child::Folder& folder) {
    const scene::Pair pair(folder, 3, 8);
    scene::Write(folder / "float.tif", {23, 19, 3, 32, pair.ms.samples}, {.pixelSize = 20.0});
    scene::Write(folder / "away.tif", pair.ms, {.x = 900000.0, .pixelSize = 20.0});
    fs::copy_file(folder / "ms.tif", folder / "cut.tif");
    fs::resize_file(folder / "cut.tif", fs::file_size(folder / "cut.tif") / 2);
    WriteText(folder / "empty.tif", "");
    WriteText(folder / "text.tif", "no raster\n");
    WriteVrt(folder / "loop.vrt", "loop.vrt");
    fs::create_directory(folder / "folder.tif");
    ASSERT_EQ(mkfifo((folder / "pipe.tif").c_str(), 0600), 0);
    fs::create_symlink("none", folder / "dangling.tif");
}

} // namespace

// Every command with every kind of input at every place: it reports in words, changes nothing and leaves
// nothing.
TEST(Faults, OfInputs) {
    const child::Folder folder;
    MakeInputs(folder);
    const Files before = Look(folder);
    const Arguments bad =
        "none.tif float.tif away.tif cut.tif empty.tif text.tif loop.vrt folder.tif pipe.tif dangling.tif "
        "ms.tif,band=9 /vsizip/text.tif/a.tif /vsimem/no '' /vsisubfile/0_9,text.tif";
    for (const std::string& input : bad)
        for (const Arguments command : {"sharpen PAN MS -o o.tif", "info PAN MS", "compare PAN MS --keep .",
                                        "assess MS --pan PAN --ms ms.tif"})
            for (const std::string place : {"PAN", "MS"}) {
                Arguments arguments = command;
                for (std::string& argument : arguments)
                    argument = argument == place   ? input
                               : argument == "PAN" ? "pan.tif"
                               : argument == "MS"  ? "ms.tif"
                                                   : argument;
                SCOPED_TRACE(child::AsTyped(arguments));
                const child::Outcome outcome = child::Run(folder, arguments);
                EXPECT_THAT(outcome.code, AnyOf(1, 2));
                EXPECT_THAT(outcome.err, HasSubstr("error: "));
                EXPECT_THAT(Changed(before, Look(folder)), testing::IsEmpty());
            }
}

// Anything may exist where a file is to be written, under any name and with any role in the run.
TEST(Faults, OfOutputs) {
    const std::vector<std::string> replaced = {"old.tif", "old.tif.aux.xml is gone", "old.tif.ovr is gone"};
    const struct {
        const char* what;
        Arguments arguments; ///< after "sharpen pan.tif"; or of "compare" when it keeps files
        int code;
        std::vector<std::string> changed; ///< with it
    } cases[] = {
        {"an input", "ms.tif -o ms.tif --overwrite", 1, {}},
        {"a link to one", "ms.tif -o link.tif --overwrite", 1, {}},
        {"another name of one", "ms.tif -o hard.tif --overwrite", 1, {}},
        {"a source of a source", "b.vrt -o ms.tif --overwrite", 1, {}},
        {"what holds one", "/vsisubfile/0_99999,ms.tif -o ms.tif --overwrite", 1, {}},
        {"settings", "ms.tif --settings s.xml -o s.xml -f GTiff --overwrite", 1, {}},
        {"an input's header", "e.img -o e.dat -f ENVI --overwrite", 1, {}},
        {"a header", "ms.tif -o h.dat -f ENVI", 1, {}},
        {"a mask", "ms.tif -o m.tif", 1, {}},
        {"a mask to replace", "ms.tif -o m.tif --overwrite", 0, {"m.tif", "m.tif.msk is gone"}},
        {"a file", "ms.tif -o old.tif", 1, {}},
        {"a header to replace",
         "ms.tif -o h.dat -f ENVI --overwrite",
         0,
         {"h.dat", "h.dat.aux.xml", "h.hdr"}},
        {"a file to replace", "ms.tif -o old.tif --overwrite", 0, replaced},
        {"a link to a file to replace", "ms.tif -o to-old.tif --overwrite", 0, replaced},
        {"a pipe", "ms.tif -o pipe.tif --overwrite", 1, {}},
        {"a folder", "ms.tif -o folder.tif --overwrite", 1, {}},
        {"no folder", "ms.tif -o no/o.tif", 1, {}},
        {"memory", "ms.tif -o /vsimem/o.tif", 2, {}},
        {"an archive", "ms.tif -o /vsizip/z.zip/o.tif", 1, {}},
        {"a long name",
         {"ms.tif", "-o", std::string(240, 'n') + ".tif"},
         0,
         {std::string(240, 'n') + ".tif"}},
        {"too long a name", {"ms.tif", "-o", std::string(300, 'n') + ".tif"}, 1, {}},
        {"standard output", "ms.tif -o -", 2, {}},
        {"an option", "ms.tif -o --overwrite", 2, {}},
        {"no pixels", "ms.tif -o o.vrt", 1, {}},
        {"an ending of no format", "ms.tif -o o.foo", 1, {}},
        {"a format by its ending", "ms.tif -o o.img", 0, {"o.img", "o.img.aux.xml"}},
        {"GDAL's name of the option", "ms.tif -of COG -o o.tif", 0, {"o.tif"}},
        {"a world file", "ms.tif -o o.tif --co TFW=YES", 0, {"o.tfw", "o.tif"}},
        {"another's world file", "ms.tif -o w.png", 1, {}},
        {"one that the format does not heed", "ms.tif -o w.tif", 0, {"w.tif"}},
        {"a picture's place", "ms.tif -o o.tif --preview p.png", 1, {}},
        {"a picture's folder", "ms.tif -o o.tif --preview no/p.png", 1, {}},
        {"two of one name", "ms.tif -o ./o.png --preview o.png", 2, {}},
        {"a report's place", "none.tif -o o.tif --status-xml s.xml", 1, {}},
        {"a report for an input", "ms.tif -o o.tif --status-xml pan.tif", 2, {}},
        {"a report for another name of one", "ms.tif -o o.tif --status-xml ./ms.tif", 2, {}},
        {"a report for a link to one", "ms.tif -o o.tif --status-xml link.tif", 2, {}},
        {"a report for a missing one", "ms.tif --infrared ir.tif -o o.tif --status-xml ir.tif", 2, {}},
        {"a report for the output", "ms.tif -o o.tif --status-xml o.tif", 2, {}},
        {"a report", "none.tif -o o.tif --status-xml r.xml", 1, {"r.xml"}},
        {"a report of an earlier run",
         "ms.tif -o o.tif --status-xml to-report --overwrite",
         0,
         {"o.tif", "report is gone"}},
        {"what is no report", "ms.tif -o o.tif --status-xml p.png --overwrite", 0, {"o.tif"}},
        {"what is kept", "ms.tif --keep . --overwrite", 1, {}},
        {"what was kept", "ms.tif --keep kept", 1, {}},
        {"what was kept, to replace",
         "ms.tif --keep kept --overwrite",
         0,
         {"kept/ms.tif", "kept/pan.tif", "kept/truth.tif"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const child::Folder folder;
        MakeInputs(folder);
        fs::create_symlink("ms.tif", folder / "link.tif");
        fs::create_hard_link(folder / "ms.tif", folder / "hard.tif");
        WriteVrt(folder / "a.vrt", "ms.tif");
        WriteVrt(folder / "b.vrt", "a.vrt");
        WriteText(folder / "e.hdr", "ENVI\nsamples = 23\nlines = 19\nbands = 3\ndata type = 1\n"
                                    "interleave = bsq\n");
        WriteText(folder / "e.img", std::string(23 * 19 * 3, 'e'));
        fs::create_directory(folder / "kept");
        WriteText(folder / "w.wld", "5\n0\n0\n-5\n1\n1\n");
        WriteText(folder / "s.xml", "<Settings><BandWeight-1>0.3</BandWeight-1></Settings>");
        for (const char* name :
             {"old.tif", "old.tif.aux.xml", "old.tif.ovr", "m.tif.msk", "h.hdr", "p.png", "kept/truth.tif"})
            WriteText(folder / name, "precious");
        fs::permissions(folder / "old.tif", fs::perms::owner_all | fs::perms::group_read);
        fs::create_symlink("old.tif", folder / "to-old.tif");
        WriteText(folder / "report", "<Status><Item/></Status>");
        fs::create_symlink("report", folder / "to-report");
        const Files before = Look(folder);
        const bool compares = c.arguments[1] == "--keep";
        const child::Outcome outcome =
            child::Run(folder, (compares ? "compare pan.tif" : "sharpen pan.tif") + c.arguments);
        EXPECT_EQ(outcome.code, c.code) << outcome.err;
        EXPECT_EQ(outcome.err.find("error: ") != std::string::npos, c.code != 0) << outcome.err;
        const Files after = Look(folder);
        EXPECT_THAT(Changed(before, after), testing::UnorderedElementsAreArray(c.changed));
        for (const auto& [name, text] : before) // permissions and kind stay, whatever the content
            if (after.contains(name)) {
                EXPECT_EQ(after.at(name).substr(0, 5), text.substr(0, 5)) << name;
            }
    }
}

// Files that cannot grow (a full disk), requests to stop at any time, and runs that write the same file at
// once.
TEST(Faults, OfTheMachine) {
    const Arguments sharpen = "sharpen pan.tif ms.tif --method kova -w equal --no-nodata";
    const struct {
        const char* what;
        Arguments arguments;
        std::uint64_t largestFile; ///< in bytes
        int signal;
    } cases[] = {
        {"full", "-o o.tif --window 16", 1, 0},
        {"full", "-o o.tif", 1500000, 0},
        {"full", "-o o.tif --co COMPRESS=DEFLATE", 1500000, 0},
        {"full", "-o o.tif --window 100", 1500000, 0},
        {"full", "-o o.tif --window 100 --co COMPRESS=DEFLATE", 1500000, 0},
        {"full", "-o o.tif -f COG", 1500000, 0},
        {"full", "-o o.dat -f ENVI", 1, 0},
        {"full", "-o o.dat -f ENVI", 200000, 0},
        {"full", "-o o.rst -f RST", 200000, 0},
        {"full", "-o o.png", 500, 0},
        {"interrupted", "-o o.dat -f ENVI", 0, SIGINT},
        {"terminated", "-o o.tif --preview p.png", 0, SIGTERM},
        {"hung up", "-o o.png", 0, SIGHUP},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what + (" " + child::AsTyped(c.arguments)));
        const child::Folder folder;
        if (c.signal == 0) {
            scene::Write(folder / "pan.tif", scene::MakeRaster(1000, 800, 1, 8, 5), {.pixelSize = 10.0});
            scene::Write(folder / "ms.tif", scene::MakeRaster(500, 400, 3, 8, 5), {.pixelSize = 20.0});
        } else {
            scene::WriteSparse(folder / "pan.tif", 8192, 8192, 1, {.pixelSize = 10.0});
            scene::WriteSparse(folder / "ms.tif", 4096, 4096, 3, {.pixelSize = 20.0});
        }
        const Files before = Look(folder);
        const Arguments slowly = c.signal == 0 ? Arguments{} : Arguments{"--window", "16", "-j", "1"};
        child::Running running(folder, sharpen + c.arguments + slowly, {}, {}, nullptr, c.largestFile);
        if (c.signal != 0) {
            ASSERT_TRUE(child::WaitUntil(
                [&] { return running.ErrorsSoFar().find("10 % done") != std::string::npos; }));
            running.Signal(c.signal);
        }
        const child::Outcome outcome = running.Finish();
        EXPECT_EQ(outcome.code, c.signal == 0 ? 1 : 130) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        EXPECT_TRUE(c.signal == 0 || outcome.err.find("100 %") == std::string::npos) << outcome.err;
        if (c.largestFile == 1500000) { // full in the middle
            EXPECT_THAT(outcome.err, testing::AllOf(HasSubstr("'o.tif'"), HasSubstr("is the disk full?")));
        }
        EXPECT_THAT(Changed(before, Look(folder)), testing::IsEmpty());
    }
}

TEST(Faults, OfThreadsThatCannotBeStarted) {
    const std::string sharpen = "sharpen pan.tif ms.tif -o o.tif --no-nodata -j 8 --window 16 ";
    const std::pair<unsigned, std::string> cases[] = {
        {1, sharpen},
        {2, sharpen},
        {3, sharpen},
        {5, sharpen},
        {1, sharpen + "--co COMPRESS=DEFLATE --co TILED=YES"},
        {1, sharpen + "-f COG"},
        {1, "assess f.tif --no-nodata --pan pan.tif --ms ms.tif"},
        {1, "compare pan.tif ms.tif --no-nodata"},
        {2, "compare pan.tif ms.tif --no-nodata"},
        {3, "compare pan.tif ms.tif --no-nodata"}};
    for (const auto& [most, command] : cases) {
        SCOPED_TRACE(std::to_string(most) + ' ' + command);
        const bool sharpens = command.starts_with(sharpen);
        const child::Folder folder;
        scene::WriteSparse(folder / "pan.tif", 600, 600, 1, {.pixelSize = 10.0});
        scene::WriteSparse(folder / "ms.tif", 300, 300, 3, {.pixelSize = 20.0});
        scene::WriteSparse(folder / "f.tif", 600, 600, 3, {.pixelSize = 10.0});
        fs::permissions(folder.path, fs::perms::all);
        const Files before = Look(folder);
        child::Running running(folder, Arguments(command.c_str()), {}, {}, nullptr, 0, most);
        const child::Outcome outcome = running.Finish();
        if (outcome.code == 99) GTEST_SKIP() << "no other user may run the command";
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        if (sharpens) {
            EXPECT_THAT(outcome.err, HasSubstr(" of 8 threads are used"));
        }
        EXPECT_THAT(Changed(before, Look(folder)),
                    testing::ElementsAreArray(std::vector<std::string>(sharpens ? 1 : 0, "o.tif")));
    }
}

TEST(Faults, OfRunsThatWriteTheSameFileAtOnce) {
    for (const bool overwrite : {false, true}) {
        const child::Folder folder;
        const scene::Pair pair(folder, 3, 8);
        Arguments arguments = "sharpen pan.tif ms.tif -o o.tif -w equal -r bilinear";
        if (overwrite) arguments.emplace_back("--overwrite");
        std::vector<std::unique_ptr<child::Running>> runs;
        for (int i = 0; i < 4; ++i)
            runs.push_back(std::make_unique<child::Running>(folder, arguments));
        std::vector<int> codes;
        for (const auto& run : runs)
            codes.push_back(run->Finish().code);
        EXPECT_EQ(std::count(codes.begin(), codes.end(), 0), overwrite ? 4 : 1);
        EXPECT_EQ(std::count(codes.begin(), codes.end(), 1), overwrite ? 0 : 3);
        EXPECT_THAT(folder.List(), testing::ElementsAre("ms.tif", "o.tif", "pan.tif"));
        EXPECT_EQ(scene::Read(folder / "o.tif").samples,
                  scene::Fuse("KOVA", pair.pan, pair.ms, {1 / 3.0, 1 / 3.0, 1 / 3.0}, {0, 1, 2}).samples);
    }
}
