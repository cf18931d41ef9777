#pragma once

#include <QLatin1String>

// Every key of the project, library and block files (docs/project-format.md), named once: the writer
// and the reader of a field, and the messages about it, use the same constant. A key that means
// different things in different objects ("size", "name", "parameters") is still one key.
namespace JsonKey {

// The files
inline constexpr QLatin1String Format{"format"};
inline constexpr QLatin1String FormatVersion{"formatVersion"};
inline constexpr QLatin1String Datatypes{"datatypes"};
inline constexpr QLatin1String Groups{"groups"};
inline constexpr QLatin1String Libraries{"libraries"};
inline constexpr QLatin1String Areas{"areas"};

// Shared by several objects
inline constexpr QLatin1String Identifier{"identifier"};
inline constexpr QLatin1String Name{"name"};
inline constexpr QLatin1String ShortName{"shortName"};
inline constexpr QLatin1String Number{"number"};
inline constexpr QLatin1String Kind{"kind"};
inline constexpr QLatin1String Size{"size"};
inline constexpr QLatin1String Index{"index"};
inline constexpr QLatin1String Version{"version"};
inline constexpr QLatin1String Parameters{"parameters"};
inline constexpr QLatin1String Function{"function"};
inline constexpr QLatin1String Description{"description"};
inline constexpr QLatin1String Id{"id"};
inline constexpr QLatin1String Pins{"pins"};
inline constexpr QLatin1String Initial{"initial"};

// Data types
inline constexpr QLatin1String Minimum{"minimum"};
inline constexpr QLatin1String Maximum{"maximum"};

// Libraries
inline constexpr QLatin1String File{"file"};
inline constexpr QLatin1String Blocks{"blocks"};

// Areas, their signal labels and parameter values
inline constexpr QLatin1String First{"first"};
inline constexpr QLatin1String Second{"second"};
inline constexpr QLatin1String Title{"title"};
inline constexpr QLatin1String DisplayName{"displayName"};
inline constexpr QLatin1String BackDocumentation{"backDocumentation"};
inline constexpr QLatin1String OwnProgram{"ownProgram"};
inline constexpr QLatin1String Root{"root"};
inline constexpr QLatin1String SignalLabels{"signalLabels"};
inline constexpr QLatin1String Node{"node"};
inline constexpr QLatin1String Instance{"instance"};
inline constexpr QLatin1String Pin{"pin"};
inline constexpr QLatin1String Offset{"offset"};
inline constexpr QLatin1String Elements{"elements"};
inline constexpr QLatin1String Defaults{"defaults"};
inline constexpr QLatin1String Values{"values"};
inline constexpr QLatin1String Area{"area"};
inline constexpr QLatin1String Element{"element"};
inline constexpr QLatin1String Value{"value"};
inline constexpr QLatin1String Related{"related"};
inline constexpr QLatin1String Names{"names"};

// Blocks
inline constexpr QLatin1String Group{"group"};
inline constexpr QLatin1String User{"user"};
inline constexpr QLatin1String Fallback{"fallback"};
inline constexpr QLatin1String VersionVisible{"versionVisible"};
inline constexpr QLatin1String Origin{"origin"};
inline constexpr QLatin1String Definitions{"definitions"};

// Definitions, their pins and symbol
inline constexpr QLatin1String Type{"type"};
inline constexpr QLatin1String AccessWrite{"accessWrite"};
inline constexpr QLatin1String AccessRead{"accessRead"};
inline constexpr QLatin1String StepIn{"stepIn"};
inline constexpr QLatin1String Runtime{"runtime"};
inline constexpr QLatin1String ParameterBlock{"parameterBlock"};
inline constexpr QLatin1String Symbol{"symbol"};
inline constexpr QLatin1String Icon{"icon"};
inline constexpr QLatin1String ParameterText{"text"};
inline constexpr QLatin1String LocalBlocks{"localBlocks"};
inline constexpr QLatin1String Code{"code"};
inline constexpr QLatin1String Datatype{"datatype"};
inline constexpr QLatin1String Invertible{"invertible"};
inline constexpr QLatin1String Inputs{"inputs"};
inline constexpr QLatin1String Outputs{"outputs"};
inline constexpr QLatin1String DefaultSize{"defaultSize"};
inline constexpr QLatin1String Image{"image"};

// Code
inline constexpr QLatin1String Instances{"instances"};
inline constexpr QLatin1String Connections{"connections"};
inline constexpr QLatin1String Block{"block"};
inline constexpr QLatin1String Position{"position"};
inline constexpr QLatin1String Realtime{"realtime"};
inline constexpr QLatin1String Background{"background"};
inline constexpr QLatin1String Lines{"lines"};
inline constexpr QLatin1String Note{"note"};
inline constexpr QLatin1String Error{"error"};
inline constexpr QLatin1String Inverted{"inverted"};
inline constexpr QLatin1String Remanent{"remanent"};
inline constexpr QLatin1String Source{"source"};
inline constexpr QLatin1String Target{"target"};
inline constexpr QLatin1String Nodes{"nodes"};

} // namespace JsonKey
