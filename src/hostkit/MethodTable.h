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

/// Questions to a plug-in's description, and the conversion of parameter values to properties and back.
namespace hostkit {

/// The methods of a plug-in, in its order.
[[nodiscard]] std::span<const PansharpMethod> MethodsOf(const PansharpDescription& plugin);

/// The method to take when people name none: the one that the plug-in recommends, else its first. Null when
/// it has none.
[[nodiscard]] const PansharpMethod* FindRecommended(const PansharpDescription& plugin);

/// The method of a keyword, in any letter case; an empty keyword stands for the recommended one. Null, with
/// an item that lists the methods, when there is none.
[[nodiscard]] const PansharpMethod* FindMethod(const PansharpDescription& plugin, const std::string& keyword,
                                               KOVA::Tessara::Fundament::Status& status);

/// The per-band parameter that is fitted in this way. Null when the method has none.
[[nodiscard]] const PansharpBandParameter* FindParameter(const PansharpMethod& method, PansharpFit fit);

/// Whether the method compares pan with its low-pass, which the host makes.
[[nodiscard]] bool UsesLowPass(const PansharpMethod& method);

/// Whether the method weighs bands: has a parameter for their shares in a simulated pan, and no low-pass of
/// pan in their place.
[[nodiscard]] bool WeighsBands(const PansharpMethod& method);

/// All properties that a method reads, those of the bands first.
[[nodiscard]] std::vector<PansharpProperty> PropertiesOf(const PansharpMethod& method);

/// Whether a property goes by this name, in any letter case: "bandweight-12" is one of "BandWeight-N".
[[nodiscard]] bool IsNamed(const PansharpProperty& property, const std::string& name);

/// Sets the properties by which a process arrives at these values of a parameter, whose last one is that of
/// the additional band when that takes part. False, with an item, when a value is out of the parameter's
/// range or not finite; nothing is set then.
[[nodiscard]] bool SetValues(const PansharpBandParameter& parameter, const std::vector<double>& values,
                             bool hasAdditional, KOVA::Tessara::Global::NameValueMap& properties,
                             KOVA::Tessara::Fundament::Status& status);

/// Sets the gains of each band where the method has such parameters. False as SetValues.
[[nodiscard]] bool SetGains(const PansharpMethod& method, const std::vector<double>& gains,
                            const std::vector<double>& ratioGains,
                            KOVA::Tessara::Global::NameValueMap& properties,
                            KOVA::Tessara::Fundament::Status& status);

/// `count` values of a parameter, as a process gets them from these properties.
[[nodiscard]] std::vector<double> ReadValues(const PansharpBandParameter& parameter, std::size_t count,
                                             const KOVA::Tessara::Fundament::PropertyLookUp& properties);

/// Sets the parameters with one value that the description has something to say of. None when the method
/// stands on pan's low-pass and its mean is not given: the host makes no low-pass then.
void SetScalars(const PansharpMethod& method, std::optional<double> lowPassMean,
                KOVA::Tessara::Global::NameValueMap& properties);

} // namespace hostkit
