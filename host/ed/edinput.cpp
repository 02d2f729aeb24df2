// Prompts and jigs: what a person would pick or type comes from the scripted input queue.
#include <cstdarg>
#include <cwctype>
#include <sstream>

#include "edimpl.h"
#include "inputqueue.h"

namespace {

std::wstring& keywords() {
  static std::wstring k;
  return k;
}
std::wstring& lastInput() {
  static std::wstring k;
  return k;
}

void prompt(const ACHAR* text) {
  if (text != nullptr && text[0] != 0) kvads::consoleWrite(acrxToUtf8(text));
}

// "x,y" or "x,y,z" typed at a point prompt.
bool parsePoint(const std::string& text, AcGePoint3d& p) {
  std::istringstream in(text);
  char c1 = 0, c2 = 0;
  double x = 0, y = 0, z = 0;
  if (!(in >> x >> c1 >> y) || c1 != ',') return false;
  if (in >> c2) {
    if (c2 != ',' || !(in >> z)) return false;
  }
  p.set(x, y, z);
  return true;
}

// The keyword of acedInitGet that the text abbreviates, if any.
bool matchKeyword(const std::wstring& text, std::wstring& keyword) {
  std::wistringstream in(keywords());
  std::wstring k;
  while (in >> k) {
    if (text.size() > k.size() || text.empty()) continue;
    bool same = true;
    for (std::size_t i = 0; i < text.size(); ++i)
      if (std::towupper(text[i]) != std::towupper(k[i])) same = false;
    if (same) return keyword = k, true;
  }
  return false;
}

}  // namespace

int acedInitGet(int, const ACHAR* kwl) {
  keywords() = kwl ? kwl : L"";
  return RTNORM;
}

int acedGetInput(ACHAR* str, std::size_t bufLen) {
  if (str == nullptr || lastInput().size() + 1 > bufLen) return RTERROR;
  std::wmemcpy(str, lastInput().c_str(), lastInput().size() + 1);
  return RTNORM;
}

// Points arrive in world coordinates and are answered in the UCS, as the platform answers.
int acedGetPoint(const ads_point, const ACHAR* promptText, ads_point result) {
  prompt(promptText);
  auto& queue = kvinput::InputQueue::instance();
  std::wstring kw;
  for (;;) {
    std::optional<kvinput::Event> e = queue.pop();
    if (!e || e->kind == kvinput::EventKind::Escape) {
      kvads::consoleWrite("*Cancel*\n");
      keywords().clear();
      return RTCAN;
    }
    AcGePoint3d p;
    if (e->kind == kvinput::EventKind::Point) {
      p = kved::toUcs(AcGePoint3d(e->x, e->y, e->z));
    } else if (e->kind == kvinput::EventKind::Enter) {
      keywords().clear();
      return RTNONE;
    } else if (e->kind == kvinput::EventKind::Text && parsePoint(e->text, p)) {
    } else if (e->kind == kvinput::EventKind::Text && matchKeyword(acrxFromUtf8(e->text), kw)) {
      lastInput() = kw;
      keywords().clear();
      return RTKWORD;
    } else {
      kvads::consoleWrite("\nInvalid point.\n");
      prompt(promptText);
      continue;
    }
    result[0] = p.x, result[1] = p.y, result[2] = p.z;
    keywords().clear();
    return RTNORM;
  }
}

int acedGetString(int, const ACHAR* promptText, ACHAR* result, std::size_t bufLen) {
  prompt(promptText);
  std::optional<kvinput::Event> e = kvinput::InputQueue::instance().pop();
  if (!e || e->kind == kvinput::EventKind::Escape) return RTCAN;
  std::wstring text = e->kind == kvinput::EventKind::Text ? acrxFromUtf8(e->text) : L"";
  if (e->kind != kvinput::EventKind::Text && e->kind != kvinput::EventKind::Enter) return RTERROR;
  if (result == nullptr || text.size() + 1 > bufLen) return RTERROR;
  std::wmemcpy(result, text.c_str(), text.size() + 1);
  return RTNORM;
}

// ---- jig ----

AcEdJig::AcEdJig() = default;
AcEdJig::~AcEdJig() = default;

AcEdJig::DragStatus AcEdJig::drag() {
  for (;;) {
    DragStatus status = sampler();
    // A queued point is a click as well as a move: one where the cursor already was is still a
    // pick, which a sampler answers with kNoChange.
    if (status == kNoChange) {
      update();
      return kNormal;
    }
    if (status == kOther) {
      if (kvinput::InputQueue::instance().empty()) return kCancel;
      continue;
    }
    if (status == kNormal) update();
    return status;
  }
}

AcDbObjectId AcEdJig::append() {
  AcDbEntity* e = entity();
  AcDbDatabase* db = acdbHostApplicationServices()->workingDatabase();
  AcDbBlockTableRecord* ms = nullptr;
  if (e == nullptr || db == nullptr || acdbOpenObject(ms, db->modelSpaceId(), AcDb::kForWrite) != Acad::eOk) return {};
  AcDbObjectId id;
  Acad::ErrorStatus es = ms->appendAcDbEntity(id, e);
  ms->close();
  if (es == Acad::eOk) e->close();
  return id;
}

const ACHAR* AcEdJig::dispPrompt() const { return prompt_.c_str(); }

void AcEdJig::setDispPrompt(const ACHAR* promptText, ...) {
  va_list args;
  va_start(args, promptText);
  prompt_ = promptText ? acrxFormat(promptText, args) : L"";
  va_end(args);
}

AcEdJig::DragStatus AcEdJig::acquirePoint(AcGePoint3d& point) {
  prompt(prompt_.c_str());
  std::optional<kvinput::Event> e = kvinput::InputQueue::instance().pop();
  if (!e || e->kind == kvinput::EventKind::Escape) return kCancel;
  switch (e->kind) {
    case kvinput::EventKind::Point:
      point.set(e->x, e->y, e->z);
      if (!(controls_ & kAccept3dCoordinates) && !e->hasZ) point.z = 0;
      last_ = point, haveLast_ = true;
      return kNormal;
    case kvinput::EventKind::Enter:
      return (controls_ & kNullResponseAccepted) ? kNull : kOther;
    case kvinput::EventKind::Text: {
      AcGePoint3d typed;
      if (parsePoint(e->text, typed)) {
        point = kved::toWcs(typed);
        return kNormal;
      }
      std::wstring kw;
      keywords().swap(keywords_);
      bool hit = matchKeyword(acrxFromUtf8(e->text), kw);
      keywords().swap(keywords_);
      if (!hit) return kOther;
      std::wistringstream in(keywords_);
      std::wstring k;
      for (int i = 1; in >> k; ++i)
        if (k == kw) return static_cast<DragStatus>(i);
      return kOther;
    }
    default: return kOther;
  }
}

AcEdJig::DragStatus AcEdJig::acquirePoint(AcGePoint3d& point, const AcGePoint3d&) { return acquirePoint(point); }

namespace {
// A number typed at a distance or angle prompt.
AcEdJig::DragStatus acquireNumber(double& value, AcEdJig::UserInputControls controls) {
  std::optional<kvinput::Event> e = kvinput::InputQueue::instance().pop();
  if (!e || e->kind == kvinput::EventKind::Escape) return AcEdJig::kCancel;
  if (e->kind == kvinput::EventKind::Enter)
    return (controls & AcEdJig::kNullResponseAccepted) ? AcEdJig::kNull : AcEdJig::kOther;
  if (e->kind != kvinput::EventKind::Text) return AcEdJig::kOther;
  std::istringstream in(e->text);
  return (in >> value) ? AcEdJig::kNormal : AcEdJig::kOther;
}
}  // namespace

AcEdJig::DragStatus AcEdJig::acquireDist(double& distance) { prompt(prompt_.c_str()); return acquireNumber(distance, controls_); }

AcEdJig::DragStatus AcEdJig::acquireAngle(double& angle) {
  prompt(prompt_.c_str());
  double degrees = 0;
  DragStatus s = acquireNumber(degrees, controls_);
  if (s == kNormal) angle = degrees * 3.14159265358979323846 / 180.0;
  return s;
}

AcEdJig::DragStatus AcEdJig::acquireString(ACHAR (&str)[2049]) {
  prompt(prompt_.c_str());
  std::optional<kvinput::Event> e = kvinput::InputQueue::instance().pop();
  if (!e || e->kind == kvinput::EventKind::Escape) return kCancel;
  if (e->kind == kvinput::EventKind::Enter) return kNull;
  if (e->kind != kvinput::EventKind::Text) return kOther;
  std::wstring text = acrxFromUtf8(e->text).substr(0, 2048);
  std::wmemcpy(str, text.c_str(), text.size() + 1);
  return kNormal;
}

AcEdJig::UserInputControls AcEdJig::userInputControls() const { return controls_; }
void AcEdJig::setUserInputControls(UserInputControls controls) { controls_ = controls; }
AcEdJig::CursorType AcEdJig::specialCursorType() const { return cursor_; }
void AcEdJig::setSpecialCursorType(CursorType type) { cursor_ = type; }
void AcEdJig::setKeywordList(const ACHAR* kwList) { keywords_ = kwList ? kwList : L""; }
