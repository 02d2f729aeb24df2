// Private to host/ed: helpers shared by the editor's source files.
#pragma once

#include <string>
#include <vector>

#include "ed.h"

namespace kved {

AcGePoint3d toWcs(const AcGePoint3d& ucs);
AcGePoint3d toUcs(const AcGePoint3d& wcs);
// The current view's box in world XY.
void viewBox(double& minX, double& minY, double& maxX, double& maxY);
void pushView();
bool popView();
void showBox(double minX, double minY, double maxX, double maxY);

// A selection filter read from its group list. Texts match with the platform's wildcards, case
// ignored; the list's groups all have to pass (an implicit AND).
class SelectionFilter {
 public:
  enum class Status { Ok, Malformed, Unsupported };
  enum class Kind { Type, Layer, Linetype, Colour, Application, And, Or, Not, Xor };
  struct Test {
    Kind kind = Kind::And;
    std::wstring pattern;          // upper case
    long number = 0;               // colour
    std::wstring comparison = L"=";  // a -4 comparison before a colour
    std::vector<Test> operands;    // of a logical group
  };

  // Unsupported groups are named on the command line.
  explicit SelectionFilter(const resbuf* groups);
  Status status() const { return status_; }
  bool passes(const AcDbEntity& entity) const;

 private:
  Status status_ = Status::Ok;
  std::vector<Test> all_;
};

}  // namespace kved
