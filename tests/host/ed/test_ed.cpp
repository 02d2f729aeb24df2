// The editor: UCS transforms, crossing selection in the view, ZOOM, variables, prompts and jigs
// fed by the input queue, the command stack.
#include <gtest/gtest.h>

#include "ed.h"
#include "inputqueue.h"

namespace {

class EdTest : public ::testing::Test {
 protected:
  void SetUp() override {
    doc_ = acDocManagerPtr()->newDocument();
    kvinput::InputQueue::instance().clear();
  }
  void TearDown() override {
    acDocManagerPtr()->closeAll();
    kvinput::InputQueue::instance().clear();
  }
  AcDbObjectId line(double x0, double y0, double x1, double y1) {
    AcDbBlockTableRecord* ms = nullptr;
    EXPECT_EQ(acdbOpenObject(ms, doc_->database()->modelSpaceId(), AcDb::kForWrite), Acad::eOk);
    auto* l = new AcDbLine(AcGePoint3d(x0, y0, 0), AcGePoint3d(x1, y1, 0));
    AcDbObjectId id;
    ms->appendAcDbEntity(id, l);
    l->close();
    ms->close();
    return id;
  }
  AcApDocument* doc_ = nullptr;
};

TEST_F(EdTest, TransBetweenUcsAndWcs) {
  AcGeMatrix3d ucs = AcGeMatrix3d().setCoordSystem(AcGePoint3d(10, 0, 0), AcGeVector3d::kYAxis, -AcGeVector3d::kXAxis,
                                                    AcGeVector3d::kZAxis);
  ASSERT_EQ(acedSetCurrentUCS(ucs), Acad::eOk);
  resbuf wcs{nullptr, RTSHORT, {}}, ucsRb{nullptr, RTSHORT, {}};
  wcs.resval.rint = 0;
  ucsRb.resval.rint = 1;
  ads_point in = {1, 0, 0}, out;
  ASSERT_EQ(acedTrans(in, &ucsRb, &wcs, 0, out), RTNORM);
  EXPECT_NEAR(out[0], 10, 1e-12);
  EXPECT_NEAR(out[1], 1, 1e-12);
  ASSERT_EQ(acedTrans(in, &ucsRb, &wcs, 1, out), RTNORM);
  EXPECT_NEAR(out[0], 0, 1e-12) << "a displacement ignores the origin";
  ads_point back;
  ASSERT_EQ(acedTrans(out, &wcs, &ucsRb, 1, back), RTNORM);
  EXPECT_NEAR(back[0], 1, 1e-12);
  resbuf bad{nullptr, RTSTR, {}};
  EXPECT_EQ(acedTrans(in, &bad, &wcs, 0, out), RTERROR);
}

TEST_F(EdTest, CrossingSelectsOnlyWhatTheViewShowsAndZoomBringsItBack) {
  AcDbObjectId near = line(0, 0, 5, 5);
  AcDbObjectId crossing = line(-10, 2, 10, 2);
  line(100, 100, 105, 105);
  AcDbObjectId far = line(1000, 1000, 1005, 1005);
  AcEdView view;
  view.center.set(0, 0, 0);
  view.height = 40;
  view.screenWidth = 400, view.screenHeight = 400;
  acedSetCurrentView(view);
  ads_point a = {-1, 1, 0}, b = {1, 3, 0};
  ads_name ss;
  ASSERT_EQ(acedSSGet(L"_C", a, b, nullptr, ss), RTNORM);
  Adesk::Int32 n = 0;
  acedSSLength(ss, &n);
  ASSERT_EQ(n, 2);
  ads_name e0, e1;
  acedSSName(ss, 0, e0);
  acedSSName(ss, 1, e1);
  AcDbObjectId id0, id1;
  acdbGetObjectId(id0, e0);
  acdbGetObjectId(id1, e1);
  EXPECT_EQ(id0, near);
  EXPECT_EQ(id1, crossing);
  EXPECT_EQ(acedSSName(ss, 2, e0), RTERROR);
  EXPECT_EQ(acedSSFree(ss), RTNORM);
  EXPECT_EQ(acedSSFree(ss), RTERROR);
  ads_point fa = {999, 999, 0}, fb = {1001, 1001, 0};
  EXPECT_EQ(acedSSGet(L"C", fa, fb, nullptr, ss), RTERROR) << "outside the current view";
  ASSERT_EQ(acedCommandS(RTSTR, L"_.ZOOM", RTSTR, L"_V", RTNONE), RTNORM);
  ASSERT_EQ(acedSSGet(L"C", fa, fb, nullptr, ss), RTNORM);
  acedSSName(ss, 0, e0);
  acdbGetObjectId(id0, e0);
  EXPECT_EQ(id0, far);
  acedSSFree(ss);
  ASSERT_EQ(acedCommandS(RTSTR, L"_.ZOOM", RTSTR, L"_P", RTNONE), RTNORM);
  EXPECT_DOUBLE_EQ(acedCurrentView().height, 40);
  EXPECT_EQ(acedCommandS(RTSTR, L"_.NOSUCH", RTNONE), RTERROR);
}

TEST_F(EdTest, AllSelectionWithDxfNameAndLayerFilters) {
  line(0, 0, 1, 1);
  AcDbBlockTableRecord* ms = nullptr;
  ASSERT_EQ(acdbOpenObject(ms, doc_->database()->modelSpaceId(), AcDb::kForWrite), Acad::eOk);
  auto* pl = new AcDbPolyline;
  pl->addVertexAt(0, {0, 0});
  pl->addVertexAt(1, {1, 0});
  ms->appendAcDbEntity(pl);
  pl->close();
  ms->close();
  resbuf* filter = acutBuildList(RTDXF0, L"LWPOLYLINE,CIRCLE", RTNONE);
  ads_name ss;
  ASSERT_EQ(acedSSGet(L"X", nullptr, nullptr, filter, ss), RTNORM);
  Adesk::Int32 n = 0;
  acedSSLength(ss, &n);
  EXPECT_EQ(n, 1);
  acedSSFree(ss);
  acutRelRb(filter);
  filter = acutBuildList(RTDXF0, L"*LINE", 8, L"0", RTNONE);
  ASSERT_EQ(acedSSGet(L"X", nullptr, nullptr, filter, ss), RTNORM);
  acedSSLength(ss, &n);
  EXPECT_EQ(n, 2) << "wildcards";
  acedSSFree(ss);
  acutRelRb(filter);
  filter = acutBuildList(8, L"NOLAYER", RTNONE);
  EXPECT_EQ(acedSSGet(L"X", nullptr, nullptr, filter, ss), RTERROR) << "nothing found";
  acutRelRb(filter);
  EXPECT_EQ(acedSSCount(), 0) << "no set leaks";
}

// Filters beyond type and layer: colour with comparisons, line type and extended-data
// application by wildcard (case ignored), and the logical groups; a group list whose groups do
// not close, or hold the wrong number of operands, is refused as a request.
TEST_F(EdTest, FilterGroupsCombineAndMalformedGroupsAreRefused) {
  AcDbDatabase* db = doc_->database();
  {
    AcDbObjectPointer<AcDbRegAppTable> apps(db->regAppTableId(), AcDb::kForWrite);
    ASSERT_EQ(apps.openStatus(), Acad::eOk);
    auto* app = new AcDbRegAppTableRecord;
    app->setName(L"KV_ROUTE");
    ASSERT_EQ(apps->add(app), Acad::eOk);
    app->close();
  }
  auto edit = [&](AcDbObjectId id, auto change) {
    AcDbEntity* e = nullptr;
    ASSERT_EQ(acdbOpenObject(e, id, AcDb::kForWrite), Acad::eOk);
    change(*e);
    e->close();
  };
  AcCmColor red;
  red.setColorIndex(1);
  AcCmColor blue;
  blue.setColorIndex(5);
  edit(line(0, 0, 1, 0), [&](AcDbEntity& e) { e.setColor(red); });
  edit(line(0, 1, 1, 1), [&](AcDbEntity& e) {
    e.setColor(blue);
    resbuf* x = acutBuildList(1001, L"KV_ROUTE", 1000, L"supply", RTNONE);
    EXPECT_EQ(e.setXData(x), Acad::eOk);
    acutRelRb(x);
  });
  line(0, 2, 1, 2);  // colour by layer (256)
  auto count = [](resbuf* filter) {
    ads_name ss;
    int rc = acedSSGet(L"X", nullptr, nullptr, filter, ss);
    acutRelRb(filter);
    Adesk::Int32 n = 0;
    if (rc == RTNORM) acedSSLength(ss, &n), acedSSFree(ss);
    return rc == RTNORM ? n : rc == RTERROR ? 0 : -rc;
  };
  EXPECT_EQ(count(acutBuildList(62, 1, RTNONE)), 1);
  EXPECT_EQ(count(acutBuildList(-4, L">=", 62, 5, RTNONE)), 2) << "blue and by-layer";
  EXPECT_EQ(count(acutBuildList(-4, L"!=", 62, 256, RTNONE)), 2);
  EXPECT_EQ(count(acutBuildList(1001, L"kv_*", RTNONE)), 1) << "application, case ignored";
  EXPECT_EQ(count(acutBuildList(6, L"BYLAYER", RTNONE)), 3);
  EXPECT_EQ(count(acutBuildList(RTDXF0, L"~LINE", RTNONE)), 0) << "negated wildcard";
  EXPECT_EQ(count(acutBuildList(-4, L"<OR", 62, 1, 1001, L"KV_ROUTE", -4, L"OR>", RTNONE)), 2);
  EXPECT_EQ(count(acutBuildList(-4, L"<NOT", -4, L"<OR", 62, 1, 62, 5, -4, L"OR>", -4, L"NOT>", RTNONE)), 1);
  EXPECT_EQ(count(acutBuildList(-4, L"<xor", 62, 5, 1001, L"*", -4, L"xor>", RTNONE)), 0) << "both true";
  EXPECT_EQ(count(acutBuildList(-4, L"<AND", 8, L"0", -4, L"<XOR", 62, 1, 62, 5, -4, L"XOR>", -4, L"AND>", RTNONE)), 2);
  const int refused = -RTREJ;
  EXPECT_EQ(count(acutBuildList(-4, L"<OR", 62, 1, RTNONE)), refused) << "never closed";
  EXPECT_EQ(count(acutBuildList(-4, L"<AND", 62, 1, -4, L"OR>", RTNONE)), refused) << "closed by another";
  EXPECT_EQ(count(acutBuildList(-4, L"<NOT", 62, 1, 62, 5, -4, L"NOT>", RTNONE)), refused) << "two under NOT";
  EXPECT_EQ(count(acutBuildList(-4, L"<XOR", 62, 1, -4, L"XOR>", RTNONE)), refused) << "one under XOR";
  EXPECT_EQ(count(acutBuildList(-4, L"OR>", RTNONE)), refused) << "a close without an open";
  EXPECT_EQ(count(acutBuildList(-4, L"=", RTNONE)), refused) << "a comparison of nothing";
  EXPECT_EQ(acedSSCount(), 0) << "no set leaks";
}

// A selection set and an entity name outlive their drawing; afterwards they give the platform's
// error, even when a new drawing takes the old one's place, and an erased entity has no list.
TEST_F(EdTest, HandlesOfClosedDrawingsAndErasedEntitiesGiveErrors) {
  AcDbObjectId kept = line(0, 0, 1, 1), erased = line(2, 2, 3, 3);
  ads_name ss, name, erasedName, out;
  ASSERT_EQ(acedSSGet(L"X", nullptr, nullptr, nullptr, ss), RTNORM);
  ASSERT_EQ(acdbGetAdsName(name, kept), Acad::eOk);
  ASSERT_EQ(acdbGetAdsName(erasedName, erased), Acad::eOk);
  ASSERT_EQ(acdbEntDel(erasedName), RTNORM);
  EXPECT_EQ(acdbEntGet(erasedName), nullptr) << "an erased entity";
  ASSERT_EQ(acdbEntDel(erasedName), RTNORM) << "entdel brings it back";
  resbuf* back = acdbEntGet(erasedName);
  EXPECT_NE(back, nullptr);
  acutRelRb(back);
  ASSERT_EQ(acDocManagerPtr()->closeDocument(doc_), Acad::eOk);
  doc_ = acDocManagerPtr()->newDocument();
  line(0, 0, 1, 1);  // likely the same handle as `kept`, in a drawing that may sit at the same address
  Adesk::Int32 n = -1;
  EXPECT_EQ(acedSSLength(ss, &n), RTNORM) << "the set itself still exists";
  EXPECT_EQ(n, 2);
  EXPECT_EQ(acedSSName(ss, 0, out), RTERROR);
  AcDbObjectId id;
  EXPECT_EQ(acdbGetObjectId(id, name), Acad::eInvalidAdsName);
  EXPECT_EQ(acdbEntGet(name), nullptr);
  EXPECT_EQ(acdbEntDel(name), RTERROR);
  EXPECT_EQ(acedSSFree(ss), RTNORM);
}

TEST_F(EdTest, VariablesThroughCells) {
  resbuf rb;
  ASSERT_EQ(acedGetVar(L"DIMSCALE", &rb), RTNORM);
  EXPECT_EQ(rb.restype, RTREAL);
  resbuf set{nullptr, RTREAL, {}};
  set.resval.rreal = 48;
  ASSERT_EQ(acedSetVar(L"dimscale", &set), RTNORM);
  EXPECT_EQ(doc_->database()->dimscale(), 48);
  ASSERT_EQ(acedGetVar(L"SAVEFILE", &rb), RTNORM);
  EXPECT_EQ(rb.restype, RTSTR);
  std::free(rb.resval.rstring);
  EXPECT_EQ(acedSetVar(L"SAVEFILE", &set), RTERROR);
  EXPECT_EQ(acedGetVar(L"NOPE", &rb), RTERROR);
}

TEST_F(EdTest, GetPointTakesScriptedPointsInUcsAndCancels) {
  auto& q = kvinput::InputQueue::instance();
  q.loadText("point 3,4\ntext 1,2,3\nenter\nesc\n");
  ads_point p;
  ASSERT_EQ(acedGetPoint(nullptr, L"\nPick: ", p), RTNORM);
  EXPECT_EQ(p[0], 3);
  ASSERT_EQ(acedGetPoint(nullptr, L"\nPick: ", p), RTNORM);
  EXPECT_EQ(p[2], 3);
  EXPECT_EQ(acedGetPoint(nullptr, L"\nPick: ", p), RTNONE);
  EXPECT_EQ(acedGetPoint(nullptr, L"\nPick: ", p), RTCAN);
  EXPECT_EQ(acedGetPoint(nullptr, L"\nPick: ", p), RTCAN) << "an empty queue cancels";
}

// A jig that places a line's end, asking with null input accepted.
class LineJig : public AcEdJig {
 public:
  AcDbLine* line = new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(0, 0, 0));
  AcGePoint3d current;
  int samples = 0;
  DragStatus sampler() override {
    ++samples;
    setUserInputControls(kNullResponseAccepted);
    AcGePoint3d p;
    DragStatus s = acquirePoint(p);
    if (s == kNormal && p.isEqualTo(current)) return kNoChange;
    if (s == kNormal) current = p;
    return s;
  }
  Adesk::Boolean update() override { return line->setEndPoint(current) == Acad::eOk; }
  AcDbEntity* entity() const override { return line; }
};

// A queued point is a click: one where the cursor already is still picks (a room's first corner
// at the origin was once lost this way).
TEST_F(EdTest, JigTakesAPointWhereTheCursorIsAsAPick) {
  kvinput::InputQueue::instance().loadText("point 0,0\npoint 5,5\nenter\n");
  LineJig jig;
  jig.setDispPrompt(L"\nEnd point: ");
  EXPECT_EQ(jig.drag(), AcEdJig::kNormal);
  EXPECT_EQ(jig.samples, 1);
  EXPECT_TRUE(jig.line->endPoint().isEqualTo({0, 0, 0}));
  EXPECT_EQ(jig.drag(), AcEdJig::kNormal);
  EXPECT_TRUE(jig.line->endPoint().isEqualTo({5, 5, 0}));
  EXPECT_EQ(jig.drag(), AcEdJig::kNull);
  EXPECT_EQ(jig.drag(), AcEdJig::kCancel);
  AcDbObjectId id = jig.append();
  EXPECT_FALSE(id.isNull());
}

TEST_F(EdTest, CommandGroupsAreRegisteredAndRemoved) {
  auto* stack = AcEdCommandStack::cast(acrxSysRegistry()->at(ACRX_COMMAND_DOCK));
  ASSERT_NE(stack, nullptr);
  static int calls = 0;
  ASSERT_EQ(stack->addCommand(L"KV_HVAC-DUCT_COMMANDS", L"KVTEST", L"KVTEST", 0, [] { ++calls; }), Acad::eOk);
  EXPECT_EQ(stack->addCommand(L"KV_HVAC-DUCT_COMMANDS", L"KVTEST", L"KVTEST", 0, [] {}), Acad::eDuplicateKey);
  EXPECT_EQ(acedCommandS(RTSTR, L"_.KVTEST", RTNONE), RTNORM);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(stack->removeGroup(L"KV_HVAC-DUCT_COMMANDS"), Acad::eOk);
  EXPECT_EQ(stack->removeGroup(L"KV_HVAC-DUCT_COMMANDS"), Acad::eKeyNotFound);
  EXPECT_EQ(stack->lookupGlobalCmd(L"KVTEST"), nullptr);
}

}  // namespace

namespace {

class EventLog : public AcEditorReactor {
 public:
  std::vector<std::string> seen;
  void commandWillStart(const ACHAR* c) override { seen.push_back("start " + acrxToUtf8(c)); }
  void commandEnded(const ACHAR* c) override { seen.push_back("end " + acrxToUtf8(c)); }
  void sysVarChanged(const ACHAR* v, Adesk::Boolean ok) override { seen.push_back(acrxToUtf8(v) + (ok ? " ok" : " refused")); }
};

TEST_F(EdTest, ZoomWindowsCentresAndEditorEvents) {
  EventLog log;
  acedEditor->addReactor(&log);
  ads_point a = {0, 0, 0}, b = {100, 50, 0}, c = {10, 10, 0};
  AcEdView view = acedCurrentView();
  view.screenWidth = 200, view.screenHeight = 100;
  acedSetCurrentView(view);
  ASSERT_EQ(acedCommandS(RTSTR, L"_.ZOOM", RTSTR, L"_W", RT3DPOINT, a, RT3DPOINT, b, RTNONE), RTNORM);
  AcEdView w = acedCurrentView();
  EXPECT_NEAR(w.center.x, 50, 1e-9);
  EXPECT_NEAR(w.height, 50 * 1.02, 1e-9) << "the window fits the 2:1 screen by its height";
  ASSERT_EQ(acedCommandS(RTSTR, L"_.ZOOM", RTSTR, L"_C", RT3DPOINT, c, RTREAL, 8.0, RTNONE), RTNORM);
  EXPECT_NEAR(acedCurrentView().center.y, 10, 1e-9);
  ASSERT_EQ(acedCommandS(RTSTR, L"_.ZOOM", RTSTR, L"_P", RTNONE), RTNORM);
  EXPECT_NEAR(acedCurrentView().center.x, 50, 1e-9) << "previous views stack";
  EXPECT_EQ(acedCommandS(RTSTR, L"_.ZOOM", RTSTR, L"_Q", RTNONE), RTERROR);
  resbuf v{nullptr, RTSTR, {}};
  std::wstring missing = L"NOSUCHLAYER";
  v.resval.rstring = missing.data();
  EXPECT_EQ(acedSetVar(L"CLAYER", &v), RTERROR);
  acedEditor->removeReactor(&log);
  EXPECT_EQ(log.seen.front(), "start ZOOM");
  EXPECT_EQ(log.seen[1], "end ZOOM");
  EXPECT_EQ(log.seen.back(), "CLAYER refused");
}

TEST_F(EdTest, KeywordsStringsAndSetEditing) {
  auto& q = kvinput::InputQueue::instance();
  q.loadText("text wid\ntext nonsense\npoint 1,1\ntext Room 101\nenter\nesc\n");
  acedInitGet(0, L"Width Depth");
  ads_point p;
  ASSERT_EQ(acedGetPoint(nullptr, L"\nPoint or [Width/Depth]: ", p), RTKWORD);
  ACHAR kw[32];
  ASSERT_EQ(acedGetInput(kw, 32), RTNORM);
  EXPECT_STREQ(kw, L"Width");
  EXPECT_EQ(acedGetPoint(nullptr, L"\nPoint: ", p), RTNORM) << "text that is neither is refused and the next event read";
  EXPECT_EQ(p[0], 1);
  ACHAR text[64];
  ASSERT_EQ(acedGetString(1, L"\nName: ", text, 64), RTNORM);
  EXPECT_STREQ(text, L"Room 101");
  ASSERT_EQ(acedGetString(1, L"\nName: ", text, 64), RTNORM);
  EXPECT_STREQ(text, L"");
  EXPECT_EQ(acedGetString(1, L"\nName: ", text, 64), RTCAN);

  AcDbObjectId a = line(0, 0, 1, 1), b = line(2, 2, 3, 3);
  ads_name ea, eb, ss;
  acdbGetAdsName(ea, a);
  acdbGetAdsName(eb, b);
  ASSERT_EQ(acedSSAdd(ea, nullptr, ss), RTNORM);
  ASSERT_EQ(acedSSAdd(eb, ss, ss), RTNORM);
  ASSERT_EQ(acedSSAdd(eb, ss, ss), RTNORM) << "adding twice keeps one";
  Adesk::Int32 n = 0;
  acedSSLength(ss, &n);
  EXPECT_EQ(n, 2);
  ASSERT_EQ(acedSSDel(ea, ss), RTNORM);
  EXPECT_EQ(acedSSDel(ea, ss), RTERROR);
  acedSSLength(ss, &n);
  EXPECT_EQ(n, 1);
  acedSSFree(ss);
  ads_name bogus = {1, 2};
  EXPECT_EQ(acedSSLength(bogus, &n), RTERROR);
}

// A jig with keywords: a typed keyword answers its place in the list.
class KeywordJig : public AcEdJig {
 public:
  AcDbLine* line = new AcDbLine;
  ~KeywordJig() override { delete line; }
  DragStatus sampler() override {
    setKeywordList(L"Undo Close");
    AcGePoint3d p;
    return acquirePoint(p);
  }
  Adesk::Boolean update() override { return true; }
  AcDbEntity* entity() const override { return line; }
};

TEST_F(EdTest, JigKeywordsAndEnterWithoutNullInput) {
  kvinput::InputQueue::instance().loadText("text c\nenter\ntext u\n");
  KeywordJig jig;
  EXPECT_EQ(jig.drag(), AcEdJig::kKW2);
  EXPECT_EQ(jig.drag(), AcEdJig::kKW1) << "Enter without null input accepted is passed over";
  EXPECT_EQ(jig.drag(), AcEdJig::kCancel);
}

}  // namespace
