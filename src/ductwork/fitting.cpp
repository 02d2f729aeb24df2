// The fitting at a duct's downstream end: chosen from how many ducts follow, how they turn, the
// section, and the project's default fittings.
#include <array>
#include <vector>

#include "rowaccess.h"

using namespace ductrows;

namespace {

// An outlet that turns by a sine of at least this runs on at an angle; below it, straight on.
constexpr double kTurnSine = 0.1;

struct OptionKeys {
  std::wstring_view keys[2];
  std::vector<const wchar_t*> fittings;  // by the option's digit
};

const std::array<OptionKeys, 3>& Options() {
  static const std::array<OptionKeys, 3> options{{
      {{L"AUTOFIT-RC2", L"AUTOFIT-RD2"}, {L"SQUARE ELBOW", L"RADIUS ELBOW"}},
      {{L"AUTOFIT-RC3", L"AUTOFIT-RD3"},
       {L"ANYANGLE", L"asym_branch", L"conical_branch", L"strt_branch", L"WYE", L"BRANCH_ELBOW"}},
      {{L"AUTOFIT-RC4", L"AUTOFIT-RD4"}, {L"asym_branch", L"conical_branch", L"strt_branch"}},
  }};
  return options;
}

// The run direction of a duct's frame, as the fitting choice sees it.
AcGeVector3d RunOf(const KvDuctDbInfo& record) {
  DuctFrame frame;
  ductFrame(record, frame, false, true);
  return frame[0];
}

bool TurnsAway(const AcGeVector3d& run, const AcGeVector3d& outlet) {
  return run.crossProduct(outlet).length() >= kTurnSine;
}

// The row of a named outlet, copied before the next lookup moves the table.
bool OutletRow(std::int32_t ixDuct, KvDuctDbInfo& row) {
  if (!ductExists(ixDuct)) return false;
  row = ProjectDucts()->Info();
  return true;
}

}  // namespace

std::wstring fittingFromOption(std::wstring_view key) {
  const std::wstring option = GetGlobalText(ProjectGlobals(), key);
  for (const OptionKeys& entry : Options()) {
    if (key != entry.keys[0] && key != entry.keys[1]) continue;
    for (std::size_t digit = 0; digit < entry.fittings.size(); ++digit)
      if (option == std::to_wstring(digit)) return entry.fittings[digit];
    return L"NONE";
  }
  return L"NONE";
}

bool chooseFitting(const KvDuctDbInfo& record, std::wstring& text, std::wstring& value) {
  std::int32_t n1 = 0, n2 = 0, n3 = 0;
  if (!getNextDucts(record.ixDuct, n1, n2, n3, false)) return false;
  const bool rectangular = isRectangularDuct(record);
  if (n3 != 0) {
    text = fittingFromOption(rectangular ? L"AUTOFIT-RC4" : L"AUTOFIT-RD4");
  } else if (n2 != 0) {
    if (!chooseTeeFitting(record, n1, n2, rectangular, text)) return false;
  } else if (n1 == 0) {
    text = L"END";
  } else if (!chooseElbowFitting(record, n1, rectangular, text)) {
    return false;
  }
  // "branch_elbow" in lower case never matches what the options give, so a transition tee has
  // no value; the fitting solids rely on that.
  if (text == L"RADIUS ELBOW" || text == L"branch_elbow" || text == L"PAIR OF PANTS")
    value = GetGlobalText(ProjectGlobals(), L"ELBOW RADIUS");
  else if (text == L"SQUARE ELBOW")
    value = GetGlobalText(ProjectGlobals(), L"TURNING VANES");
  else
    value.clear();
  return true;
}

bool chooseTeeFitting(const KvDuctDbInfo& record, std::int32_t n1, std::int32_t n2, bool rectangular,
                      std::wstring& text) {
  text = L"NONE";
  KvDuctDbInfo r1, r2;
  if (!OutletRow(n1, r1) || !OutletRow(n2, r2)) return false;
  const AcGeVector3d run = RunOf(record);
  if (TurnsAway(run, RunOf(r1)) && TurnsAway(run, RunOf(r2)))
    text = L"WYE";
  else
    text = fittingFromOption(rectangular ? L"AUTOFIT-RC3" : L"AUTOFIT-RD3");
  return true;
}

bool chooseElbowFitting(const KvDuctDbInfo& record, std::int32_t n1, bool rectangular, std::wstring& text) {
  text = L"NONE";
  KvDuctDbInfo r1;
  if (!OutletRow(n1, r1)) return false;
  // A U-turn has a sine of 0 as well, and counts as straight on.
  if (!TurnsAway(RunOf(record), RunOf(r1)))
    text = L"TRANSITION";
  else
    text = fittingFromOption(rectangular ? L"AUTOFIT-RC2" : L"AUTOFIT-RD2");
  return true;
}
