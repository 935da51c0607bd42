#pragma once

#include "fundament/PropertyLookUp.h"
#include "fundament/Status.h"
#include "host/Describe.h"
#include "host/NameValueMap.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// Reads a plug-in's description, and converts parameter values to properties and back.
namespace hostkit {

/// The methods of a plug-in, in its order.
[[nodiscard]] std::span<const PansharpMethod> MethodsOf(const PansharpDescription& plugin);

/// The default method: the one that the plug-in recommends, else its first. Null when it has none.
[[nodiscard]] const PansharpMethod* FindRecommended(const PansharpDescription& plugin);

/// The method with a keyword, in any letter case. An empty keyword means the default method. Null, with an
/// item that lists the methods, when there is none.
[[nodiscard]] const PansharpMethod* FindMethod(const PansharpDescription& plugin, const std::string& keyword,
                                               KOVA::Tessara::Fundament::Status& status);

/// The per-band parameter that is fitted in this way. Null when the method has none.
[[nodiscard]] const PansharpBandParameter* FindParameter(const PansharpMethod& method, PansharpFit fit);

/// Whether the method compares pan with its low-pass, which the host makes.
[[nodiscard]] bool UsesLowPass(const PansharpMethod& method);

/// Whether the method weighs bands: it has a parameter for their shares in a simulated pan, and does not use
/// pan's low-pass instead.
[[nodiscard]] bool WeighsBands(const PansharpMethod& method);

/// All properties that a method reads, those of the bands first.
[[nodiscard]] std::vector<PansharpProperty> PropertiesOf(const PansharpMethod& method);

/// Whether a name stands for this property, in any letter case: "bandweight-12" is one of "BandWeight-N".
[[nodiscard]] bool IsNamed(const PansharpProperty& property, const std::string& name);

/// Sets the properties that give a parameter these values, one per band. The last value is that of the
/// additional band when `hasAdditional` is true. False, with an item and nothing set, when a value is outside
/// the parameter's range or not finite.
[[nodiscard]] bool SetValues(const PansharpBandParameter& parameter, const std::vector<double>& values,
                             bool hasAdditional, KOVA::Tessara::Global::NameValueMap& properties,
                             KOVA::Tessara::Fundament::Status& status);

/// Sets the gains of each band if the method has such parameters. Fails like SetValues.
[[nodiscard]] bool SetGains(const PansharpMethod& method, const std::vector<double>& gains,
                            const std::vector<double>& ratioGains,
                            KOVA::Tessara::Global::NameValueMap& properties,
                            KOVA::Tessara::Fundament::Status& status);

/// The first `count` values of a parameter, as a process reads them from these properties.
[[nodiscard]] std::vector<double> ReadValues(const PansharpBandParameter& parameter, std::size_t count,
                                             const KOVA::Tessara::Fundament::PropertyLookUp& properties);

/// Sets the single-valued parameters that the host knows a value for. Sets none when the method uses pan's
/// low-pass and `lowPassMean` is absent: the host makes no low-pass then.
void SetScalars(const PansharpMethod& method, std::optional<double> lowPassMean,
                KOVA::Tessara::Global::NameValueMap& properties);

} // namespace hostkit
