#include "Child.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

using child::Arguments;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

struct WrongLine {
    Arguments arguments;
    std::vector<std::string> words;
};

const WrongLine wrongLines[] = {
    {{"frobnicate"}, {"no command 'frobnicate'", "'pansharp --help'"}},
    {{"sharpn", "a", "b"}, {"'sharpn'", "did you mean 'sharpen'?"}},
    {{"--frob"}, {"'--frob'", "'pansharp --help'"}},
    {{"sharpen"}, {"no input", "pan.tif ms.tif"}},
    {"sharpen a -o c", {"only 'a'", "multispectral"}},
    {"sharpen a b", {"no output", "-o"}},
    {"sharpen a b -o", {"--output needs a value: --output OUT"}},
    {"sharpen a b -o ''", {"no output", "-o"}},
    {"sharpen a '' -o c", {"name of an input file is empty"}},
    {"sharpen a b -o c -o d", {"--output", "more than once"}},
    {"sharpen a b -o c --metod=kova", {"'--metod'", "did you mean '--method'?"}},
    {"sharpen a b -o c --infra d", {"'--infra'", "did you mean '--infrared'?"}},
    {"sharpen a b -o c -x", {"'-x'", "'pansharp sharpen --help'"}},
    {"--frob sharpen a b -o c", {"'--frob'"}},
    {"sharpen a b -o c --overwrite=no", {"--overwrite takes no value"}},
    {"sharpen a b -o c --method kovva", {"'kovva'", "did you mean 'kova'?", "it offers kova"}},
    {"sharpen a b -o c --method ihs -w equal", {"--weights", "IHS takes no weights"}},
    {"sharpen a b -o c --method ''", {"no method ''", "it offers kova"}},
    {"sharpen a b,band=0 -o c", {"'b,band=0'", "counted from 1"}},
    {"sharpen a b,band=1,2 -o c", {"'b,band=1,2'", "one number"}},
    {"sharpen a ,band=1 -o c", {"',band=1'"}},
    {"sharpen a b -o c --infrared d,band=x", {"'d,band=x'"}},
    {"sharpen a b -o c --infrared-weight 1", {"--infrared-weight", "--infrared"}},
    {"sharpen a b -o c --infrared d --infrared-weight 1/3", {"'1/3'", "0.25"}},
    {"sharpen a b -o c -w 0.5,x", {"'x' in '0.5,x'", "equal"}},
    {"sharpen a b -o c -w 0.5,,0.5", {"'' in '0.5,,0.5'"}},
    {"sharpen a b -o c -w 0.5;0.5", {"'0.5;0.5'", "0.3,0.3,0.4"}},
    {"sharpen a b -o c -w nan,1", {"'nan'"}},
    {"sharpen a b -o c -w 1e999", {"'1e999'"}},
    {"sharpen a b -o c -b 3,0", {"'0' in '3,0'", "from 1"}},
    {"sharpen a b -o c -b 1-3", {"'1-3'", "3,2,1"}},
    {"sharpen a b -o c -b 2,1,2", {"band 2", "twice"}},
    {"sharpen a b -o c --set Method", {"--set", "NAME=VALUE"}},
    {"sharpen a b -o c --co =x", {"--co", "NAME=VALUE"}},
    {"sharpen a b -o c -f ''", {"--of", "GTiff"}},
    {"sharpen a b -o c -j 0", {"--threads", "'0'", "1 to 1024"}},
    {"sharpen a b -o c -j many", {"--threads", "'many'"}},
    {"sharpen a b -o c --window -5", {"--window", "'-5'"}},
    {"sharpen a b -o c --window 99999999999", {"--window", "'99999999999'"}},
    {"sharpen a b -o c -r cubik", {"'cubik'", "did you mean 'cubic'?", "bilinear"}},
    {"sharpen a b -o c --bit-depth 8", {"--bit-depth", "'8'", "9 to 16"}},
    {"sharpen a b -o c --projwin 1 2 3", {"--projwin needs 4 values: --projwin ULX"}},
    {"sharpen a b -o c --srcwin 0 0 0 9", {"--srcwin", "'0'", "1 to"}},
    {"sharpen a b -o c.pansharp --srcwin 0 0 9 9", {"--srcwin", "whole scene"}},
    {"sharpen a b -o c --projwin 9 2 -3 1", {"between '9 2' and '-3 1'"}},
    {"sharpen a b -o c --bbox 0 2 3 1", {"between '0 2' and '3 1'", "smallest"}},
    {"sharpen a b -o c --bbox 0 x 3 1", {"--bbox", "'x' is not a number"}},
    {"sharpen a b -o c --projwin 0 1 1 0 --bbox 0 0 1 1", {"--projwin and --bbox"}},
    {"sharpen a b -o c --extent intersektion", {"did you mean 'intersection'?"}},
    {"sharpen a b -o c --shift 1", {"--shift", "'1'", "comma"}},
    {"sharpen a b -o c --shift 1,x", {"--shift", "'x' is not a number"}},
    {"sharpen a b -o c --scale 1 --shift 2", {"--shift: '2'"}}, // the first one
    {"sharpen a b -o c --preview-at 1,2", {"without a picture", "--preview FILE.png"}},
    {"sharpen a b -o c --scale 1,1", {"--scale", "'1,1'", "smallest value first"}},
    {"sharpen a b -o c --nodata 0 --no-nodata", {"--nodata", "--no-nodata"}},
    {"sharpen a b -o c --simd mmx", {"'mmx' cannot run on", "scalar"}},
    {"sharpen a b -o c --weights-from no.json", {"'no.json' cannot be opened", "--json"}},
    {"help sharpn", {"no command 'sharpn'", "'sharpen'"}},
    {"methods kova", {"'kova'", "takes no files"}},
};

} // namespace

TEST(CommandLine, WrongOnesAreRefusedWithAWayOut) {
    const child::Folder folder;
    for (const WrongLine& line : wrongLines) {
        SCOPED_TRACE(child::AsTyped(line.arguments));
        const child::Outcome outcome = child::Run(folder, line.arguments);
        EXPECT_EQ(outcome.code, 2);
        EXPECT_THAT(outcome.out, IsEmpty());
        EXPECT_THAT(outcome.err, StartsWith("pansharp: error: "));
        for (const std::string& word : line.words)
            EXPECT_THAT(outcome.err, HasSubstr(word));
        EXPECT_THAT(folder.List(), IsEmpty());
    }
}

// An unknown name would otherwise be ignored silently, and another target measured.
TEST(CommandLine, VectorTargetOfTheEnvironmentIsChecked) {
    const child::Folder folder;
    setenv("PANSHARP_SIMD", "mmx", 1);
    const child::Outcome wrong = child::Run(folder, {"methods"});
    const child::Outcome version = child::Run(folder, {"--version"});
    setenv("PANSHARP_SIMD", "Scalar", 1);
    const child::Outcome right = child::Run(folder, {"methods"});
    unsetenv("PANSHARP_SIMD");
    EXPECT_EQ(wrong.code, 2);
    EXPECT_THAT(wrong.err, testing::AllOf(HasSubstr("PANSHARP_SIMD"), HasSubstr("'mmx' cannot run on"),
                                          HasSubstr("scalar")));
    EXPECT_EQ(version.code, 0);
    EXPECT_EQ(right.code, 0) << right.err;
}

TEST(CommandLine, HelpTellsEveryOptionAndFitsTheTerminal) {
    const child::Folder folder;
    const child::Outcome help = child::RunWell(folder, "sharpen --help --nonsense");
    EXPECT_THAT(help.err, IsEmpty());
    EXPECT_THAT(help.out, StartsWith("Usage: pansharp sharpen PAN MS"));
    for (const char* words :
         {"-o, --output OUT", "-f, --of FORMAT", "--co NAME=VALUE", "--overwrite", "--method METHOD",
          "-w, --weights", "--infrared FILE[,band=N]", "--infrared-weight W", "-b, --bands LIST",
          "-j, --threads N", "-q, --quiet", "--json", "\nAdvanced:\n      --window ROWS", "--set NAME=VALUE",
          "--plugin FILE", "recommends)", "\nExamples:\n  pansharp sharpen pan.tif ms.tif -o sharp.tif\n"})
        ASSERT_THAT(help.out, HasSubstr(words));
    for (std::size_t start = 0; start < help.out.find("\nExamples:"); start = help.out.find('\n', start) + 1)
        EXPECT_LE(help.out.find('\n', start) - start, 80u) << help.out.substr(start, 100);

    const child::Outcome program = child::RunWell(folder, {"-h"});
    EXPECT_THAT(program.out, testing::AllOf(HasSubstr("\n  sharpen "), HasSubstr("\n  methods ")));
    const child::Outcome nothing = child::Run(folder, {});
    EXPECT_EQ(nothing.code, 2);
    EXPECT_THAT(nothing.out, IsEmpty());
    EXPECT_EQ(nothing.err, program.out);
}
