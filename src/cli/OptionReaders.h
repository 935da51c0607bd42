#pragma once

#include "cli/ArgumentText.h"
#include "cli/Arguments.h"

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

/// Functions that store the values of options in fields. The table of options refers to them. They throw
/// UsageError.
namespace cli {

template <auto Field>
void SetFlag(const TypedOption&, Arguments& to) {
    to.*Field = true;
}

template <auto Field>
void SetText(const TypedOption& option, Arguments& to) {
    to.*Field = option.Value();
}

template <auto Field, std::uint32_t least, std::uint32_t most>
void SetWhole(const TypedOption& option, Arguments& to) {
    using Value = std::remove_cvref_t<decltype(to.*Field)>;
    to.*Field = static_cast<Value>(ParseWhole(option.name, option.Value(), least, most));
}

template <auto Field>
void SetInput(const TypedOption& option, Arguments& to) {
    to.*Field = ParseInputBand(option.Value());
}

template <auto Field>
void SetResampling(const TypedOption& option, Arguments& to) {
    to.*Field = ParseChoice(option.name, option.Value(), {"bilinear", "cubic"}) == 0
                    ? hostkit::Resampling::Bilinear
                    : hostkit::Resampling::Cubic;
}

// Inputs and outputs.
void ReadOutput(const TypedOption& option, Arguments& to);
void ReadFormat(const TypedOption& option, Arguments& to);
void ReadCreationOptions(const TypedOption& option, Arguments& to);
void ReadMetadata(const TypedOption& option, Arguments& to);
void ReadWindow(const TypedOption& option, Arguments& to);
void ReadPreview(const TypedOption& option, Arguments& to);
void ReadPicture(const TypedOption& option, Arguments& to);
void ReadPreviewPlace(const TypedOption& option, Arguments& to);
void ReadStatusXml(const TypedOption& option, Arguments& to);
void ReadKeep(const TypedOption& option, Arguments& to);

void ReadOutFolder(const TypedOption& option, Arguments& to);
void ReadTimeLimit(const TypedOption& option, Arguments& to);

void ReadPort(const TypedOption& option, Arguments& to);

// The pair, and how it is fused.
void ReadWeights(const TypedOption& option, Arguments& to);
void ReadWeightsFrom(const TypedOption& option, Arguments& to);
void ReadInfraredWeight(const TypedOption& option, Arguments& to);
void ReadTransfer(const TypedOption& option, Arguments& to);
void ReadGains(const TypedOption& option, Arguments& to);
void ReadSettingsFile(const TypedOption& option, Arguments& to);
void ReadProperties(const TypedOption& option, Arguments& to);
void ReadPart(const TypedOption& option, Arguments& to);
void ReadExtent(const TypedOption& option, Arguments& to);
void ReadShift(const TypedOption& option, Arguments& to);
void ReadScale(const TypedOption& option, Arguments& to);
void ReadBands(const TypedOption& option, Arguments& to);
void ReadNaturalColours(const TypedOption& option, Arguments& to);
void ReadNoData(const TypedOption& option, Arguments& to);
void ReadNoNoData(const TypedOption& option, Arguments& to);

// Quality.
void ReadBlur(const TypedOption& option, Arguments& to);
void ReadPanBlur(const TypedOption& option, Arguments& to);
void ReadRatio(const TypedOption& option, Arguments& to);
void ReadBandsOfImage(const TypedOption& option, Arguments& to);

/// Inputs: PAN MS [MS ...]; the lists and products of a batch; FUSED and its reference or pair.
void ReadPair(const CommandLine& line, Arguments& to);
void ReadScenes(const CommandLine& line, Arguments& to);
void ReadFused(const CommandLine& line, Arguments& to);

} // namespace cli
