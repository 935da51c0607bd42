// Options of "view", included only by OptionTable.cpp.
#pragma once

#include "cli/SharedOptions-inl.h"

// NOLINTBEGIN(misc-definitions-in-headers): one file includes it.
namespace cli {

namespace {

constexpr OptionEntry ownViewOptions[] = {
    {{"--port", "N", "8017, or any that is free", runHeading, "port to serve at"}, ReadPort},
    {{"--listen", "ADDRESS", "127.0.0.1", runHeading,
      "numeric address to serve at. 127.0.0.1 and ::1 serve only this machine. At any other address, "
      "everybody "
      "who can reach it sees the scene, unencrypted and without a password"},
     SetText<&Arguments::listen>},
    {{"--open", "", "", runHeading, "open the page in the browser"}, SetFlag<&Arguments::opensBrowser>},
};

/// Options about an output, or about the report of a run.
constexpr std::string_view notForViews[] = {
    "--output",     "--of",     "--co",     "--mo",       "--srcwin",    "--overwrite", "--preview",
    "--preview-at", "--byte",   "--extent", "--alpha",    "--dry-run",   "--verbose",   "--quiet",
    "--json",       "--window", "--set",    "--settings", "--status-xml"};

} // namespace

} // namespace cli
// NOLINTEND(misc-definitions-in-headers)
