#include "options.h"

#include "failure.h"
#include "text.h"

#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

namespace utf_post {

namespace {

struct LayoutName {
  const char* name;
  res_DataTypeEnm layout;
};

const LayoutName layoutNames[] = {
    {"full", res_Tensor3dFull},         {"planar3d", res_Tensor3dPlanar},
    {"surface3d", res_Tensor3dSurface}, {"planar2d", res_Tensor2dPlanar},
    {"surface2d", res_Tensor2dSurface},
};

struct OutputName {
  const char* name;
  OutputKind output;
};

const OutputName outputNames[] = {
    {"mises", OutputKind::Mises},
    {"pressure", OutputKind::Pressure},
    {"tresca", OutputKind::Tresca},
    {"inv3", OutputKind::Inv3},
    {"max-principal", OutputKind::MaxPrincipal},
    {"mid-principal", OutputKind::MidPrincipal},
    {"min-principal", OutputKind::MinPrincipal},
    {"max-inplane", OutputKind::MaxInplane},
    {"min-inplane", OutputKind::MinInplane},
    {"out-of-plane", OutputKind::OutOfPlane},
    {"principal-directions", OutputKind::PrincipalDirections},
    {"components", OutputKind::Components},
};

std::string knownOutputs() {
  std::string list;
  for (const OutputName& entry : outputNames) {
    list += list.empty() ? "" : ", ";
    list += entry.name;
  }
  return list;
}

// The pieces of a comma-separated list, blanks around each removed.
std::vector<std::string> splitList(const std::string& text) {
  std::vector<std::string> pieces;
  std::size_t start = 0;
  for (;;) {
    const std::size_t comma = text.find(',', start);
    const std::string piece =
        text.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
    pieces.emplace_back(trimBlanks(piece));
    if (comma == std::string::npos) {
      return pieces;
    }
    start = comma + 1;
  }
}

void checkRotationTable(const double* a) {
  // Every entry of A A^T - I (rows orthonormal), then the sign of the determinant.
  double worst = 0.0;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      const double dot =
          a[3 * i] * a[3 * j] + a[3 * i + 1] * a[3 * j + 1] + a[3 * i + 2] * a[3 * j + 2];
      const double deviation = std::fabs(dot - (i == j ? 1.0 : 0.0));
      worst = deviation > worst ? deviation : worst;
    }
  }
  if (!(worst <= rotationTolerance)) {
    throw Failure("--rotate-cosines: expected the rows of a rotation (orthonormal within " +
                  formatShort(rotationTolerance) +
                  "), found rows with |A A^T - I| = " + formatShort(worst));
  }
  const double determinant = a[0] * (a[4] * a[8] - a[5] * a[7]) -
                             a[1] * (a[3] * a[8] - a[5] * a[6]) +
                             a[2] * (a[3] * a[7] - a[4] * a[6]);
  if (!(determinant > 0.0)) {
    throw Failure("--rotate-cosines: expected the rows of a rotation (determinant +1), found a "
                  "reflection (determinant " +
                  formatShort(determinant) + ")");
  }
}

void checkAxis(const Options& options) {
  const double* d = options.axisDirection;
  const double length = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
  const std::string given = formatList(d, 3);
  if (!(length > 0.0) || !std::isfinite(length)) {
    throw Failure("--axis-direction: expected a direction of non-zero length, found " + given);
  }
  // The cylindrical system's 3-axis is the cylinder's axis: for the layouts that hold only the
  // 1-2 plane it must be the 3-axis (either way for the 3D ones, which can be turned over).
  if (!keepsPlane(options.layout, d, length)) {
    const bool is2d = utf_is2dTensorType(options.layout);
    throw Failure(std::string("--axis-direction: expected the 3-axis ") +
                  (is2d ? "(0,0,1)" : "(0,0,1) or (0,0,-1)") + " for layout " +
                  layoutName(options.layout) + ", found " + given);
  }
}

} // namespace

res_DataTypeEnm parseLayout(const std::string& text) {
  for (const LayoutName& entry : layoutNames) {
    if (text == entry.name) {
      return entry.layout;
    }
  }
  for (const LayoutName& entry : layoutNames) {
    if (text == std::to_string(static_cast<int>(entry.layout))) {
      return entry.layout;
    }
  }
  throw Failure("--layout: expected full, planar3d, surface3d, planar2d, surface2d or a number "
                "from 9 to 13, found " +
                quotedField(text));
}

std::vector<OutputKind> parseOutputs(const std::string& text) {
  std::vector<OutputKind> outputs;
  for (const std::string& name : splitList(text)) {
    bool known = false;
    for (const OutputName& entry : outputNames) {
      if (name == entry.name) {
        for (OutputKind earlier : outputs) {
          if (earlier == entry.output) {
            throw Failure("--outputs: expected each output once, found " + quotedField(name) +
                          " twice");
          }
        }
        outputs.push_back(entry.output);
        known = true;
      }
    }
    if (!known) {
      throw Failure("--outputs: expected one of " + knownOutputs() + ", found " +
                    quotedField(name));
    }
  }
  return outputs;
}

Precision parsePrecision(const std::string& text) {
  for (const Precision precision : {Precision::Float, Precision::Double}) {
    if (text == precisionName(precision)) {
      return precision;
    }
  }
  throw Failure("--precision: expected float or double, found " + quotedField(text));
}

char parseSeparator(const std::string& text) {
  // By name, or the character itself.
  for (const char separator : {'\0', ',', ';'}) {
    if (text == separatorName(separator) || (separator != 0 && text == std::string(1, separator))) {
      return separator;
    }
  }
  throw Failure("--separator: expected auto, comma or semicolon, found " + quotedField(text));
}

std::vector<std::string> parseNames(const std::string& option, const std::string& text,
                                    std::size_t count) {
  const std::vector<std::string> names = splitList(text);
  if (count != 0 && names.size() != count) {
    throw Failure(option + ": expected " + std::to_string(count) + " names, found " +
                  std::to_string(names.size()) + " in " + quotedField(text));
  }
  for (const std::string& name : names) {
    if (name.empty()) {
      throw Failure(option + ": expected a column name between the commas, found an empty one in " +
                    quotedField(text));
    }
  }
  return names;
}

std::vector<double> parseNumbers(const std::string& option, const std::string& text,
                                 std::size_t count) {
  const std::vector<std::string> pieces = splitList(text);
  if (pieces.size() != count) {
    throw Failure(option + ": expected " + std::to_string(count) +
                  " comma-separated numbers, found " + std::to_string(pieces.size()) + " in " +
                  quotedField(text));
  }
  std::vector<double> numbers;
  for (const std::string& piece : pieces) {
    double value = 0.0;
    const NumberStatus status = parseNumber(piece, value);
    if (status != NumberStatus::Number) {
      throw Failure(option + ": " + numberProblem(status, piece, Precision::Double));
    }
    numbers.push_back(value);
  }
  return numbers;
}

const char* layoutName(res_DataTypeEnm layout) {
  for (const LayoutName& entry : layoutNames) {
    if (entry.layout == layout) {
      return entry.name;
    }
  }
  return "unknown";
}

const char* outputName(OutputKind output) {
  for (const OutputName& entry : outputNames) {
    if (entry.output == output) {
      return entry.name;
    }
  }
  return "unknown";
}

std::string outputList(const std::vector<OutputKind>& outputs) {
  std::string text;
  for (OutputKind output : outputs) {
    text += text.empty() ? "" : ",";
    text += outputName(output);
  }
  return text;
}

const char* separatorName(char separator) {
  switch (separator) {
  case 0:
    return "auto";
  case ',':
    return "comma";
  case ';':
    return "semicolon";
  default:
    return "unknown";
  }
}

std::vector<std::string> componentNames(res_DataTypeEnm layout) {
  switch (utf_tensorComponentCount(layout)) {
  case 6:
    return {"S11", "S22", "S33", "S12", "S13", "S23"};
  case 4:
    return {"S11", "S22", "S33", "S12"};
  case 3:
    return {"S11", "S22", "S12"};
  default:
    return {};
  }
}

std::vector<std::string> tensorColumnsOf(const Options& options) {
  return options.tensorColumns.empty() ? componentNames(options.layout) : options.tensorColumns;
}

std::vector<std::string> coordinateColumnsOf(const Options& options) {
  if (!options.coordinateColumns.empty()) {
    return options.coordinateColumns;
  }
  if (utf_is2dTensorType(options.layout)) {
    return {"X", "Y"};
  }
  return {"X", "Y", "Z"};
}

std::vector<std::string> newColumnNames(const Options& options) {
  std::vector<std::string> names;
  for (OutputKind output : options.outputs) {
    switch (output) {
    case OutputKind::PrincipalDirections:
      for (const char* name :
           {"pdir_qx", "pdir_qy", "pdir_qz", "pdir_qw", "pdir1_x", "pdir1_y", "pdir1_z", "pdir2_x",
            "pdir2_y", "pdir2_z", "pdir3_x", "pdir3_y", "pdir3_z"}) {
        names.emplace_back(name);
      }
      break;
    case OutputKind::Components:
      for (const std::string& component : componentNames(options.layout)) {
        names.push_back("local_" + component);
      }
      break;
    default: {
      // The output's name with '_' for '-': max-principal gives max_principal.
      std::string name = outputName(output);
      for (char& c : name) {
        c = c == '-' ? '_' : c;
      }
      names.push_back(name);
      break;
    }
    }
  }
  return names;
}

bool keepsPlane(res_DataTypeEnm layout, const double* axis, double length) {
  if (layout == res_Tensor3dFull) {
    return true;
  }
  const double inPlane = std::sqrt(axis[0] * axis[0] + axis[1] * axis[1]) / length;
  const bool is2d = utf_is2dTensorType(layout);
  return !(inPlane > planeTolerance || (is2d && axis[2] < 0.0));
}

void validate(const Options& options) {
  const std::vector<std::string> components = componentNames(options.layout);
  if (components.empty()) {
    throw Failure("--layout: expected a tensor layout, found data type " +
                  std::to_string(static_cast<int>(options.layout)));
  }
  if (!options.tensorColumns.empty() && options.tensorColumns.size() != components.size()) {
    throw Failure("--columns: expected " + std::to_string(components.size()) +
                  " names for layout " + layoutName(options.layout) + " (" + joinNames(components) +
                  "), found " + std::to_string(options.tensorColumns.size()) + " (" +
                  joinNames(options.tensorColumns) + ")");
  }
  if (options.maxWarnings < 0) {
    throw Failure("--max-warnings: expected a count of 0 or more, found " +
                  std::to_string(options.maxWarnings));
  }
  switch (options.system) {
  case SystemKind::Cosines:
    checkRotationTable(options.cosines);
    break;
  case SystemKind::Cylindrical: {
    const std::size_t count = options.coordinateColumns.size();
    if (count != 0 && count != 2 && count != 3) {
      throw Failure("--coordinates: expected 2 or 3 names (X,Y or X,Y,Z), found " +
                    std::to_string(count) + " (" + joinNames(options.coordinateColumns) + ")");
    }
    checkAxis(options);
    break;
  }
  case SystemKind::Angles:
  case SystemKind::Global:
    break;
  }
}

} // namespace utf_post
