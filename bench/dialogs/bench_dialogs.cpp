// Dialog benchmarks. The explorer fills its tree lazily, so opening it must cost about the same
// for 1,000 ducts as for 100,000; opening the largest node pays for that node's rows only.
// "Open" is one modal run with no input: build, first paint, and the end that no input gives.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "ProjectDatabase.h"
#include "database/database.h"
#include "dialogs/CDialogProjectExplorerHVAC.h"
#include "dialogs/CLoadDetail.h"
#include "dialogs/CTreeDialogs.h"
#include "dialogs/COptions.h"
#include "inputqueue.h"
#include "lisp.h"

namespace {

constexpr int kDrawings = 10;

// A project folder with ducts spread over ten drawings and four air systems, and a fifth as
// many diffusers over fifty schedule rows in five groups; the application layer loaded.
class Project {
 public:
  explicit Project(int ducts) {
    folder_ = std::filesystem::temp_directory_path() / ("kv-bench-dialogs-" + std::to_string(ducts));
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_ / "config");
    setenv("XDG_CONFIG_HOME", (folder_ / "config").c_str(), 1);
    const std::wstring file = (folder_ / "bench_kv_hvac.kv").wstring();
    CreateProjectDatabase(db_);
    VARIANT_BOOL ok = VARIANT_FALSE;
    db_->CreateProject(_bstr_t(file), &ok);
    const std::wstring n = std::to_wstring(ducts), m = std::to_wstring(ducts / 5);
    const std::wstring count = L"with recursive c(x) as (select 1 union all select x + 1 from c where x < ";
    Exec(L"insert into tblDuct (ixDuct, DRAWING, AIRFLOW) " + count + n + L") select x, 'd' || (x % " +
         std::to_wstring(kDrawings) + L") || '.dwg', case x % 4 when 0 then 'sa' when 1 then 'ra' when 2 then 'oa' else 'ea' end from c");
    Exec(L"delete from tblDiffSGroup");
    Exec(L"delete from tblDiffS");
    Exec(L"insert into tblDiffSGroup (ixDiffSGroup, sName) " + count + L"5) select x, 'Group ' || x from c");
    Exec(L"insert into tblDiffS (ixDiffS, ixDiffSGroup, CALLOUT) " + count + L"50) select x, 1 + x % 5, 'S-' || x from c");
    Exec(L"insert into tblDiffL (ixDiffL, ixDiffS, DRAWING) " + count + m + L") select x, 1 + x % 50, 'd' || (x % " +
         std::to_wstring(kDrawings) + L") || '.dwg' from c");
    // A drawing of the same 25 supply ducts at every size: a node whose own rows do not grow.
    Exec(L"insert into tblDuct (DRAWING, AIRFLOW) " + count + L"25) select 'z.dwg', 'sa' from c");
    env_.load(KV_SOURCE_DIR "/lisp/projectdb.lsp");
    env_.load(KV_SOURCE_DIR "/lisp/kv_hvac-dialogs.lsp");
    env_.evalString("(defun getvar (name) \"" + folder_.string() + "/\")");
    kvads::setCurrentSession(&env_);
    // The layer's own connection to the file is opened once per session (and checks the whole
    // file then, as every open does); the dialog's figures are those of a session that has it.
    env_.evalString("(hvac-projectExplorer_sqlQuery \"Select * from tblDiffSGroup\" \"ixDiffSGroup\" \"sName\")");
  }
  // The explorer's sort order as the user left it: callout first, or drawing first.
  void SetCalloutFirst(bool calloutFirst) {
    HKEY key = nullptr;
    RegCreateKeyEx(HKEY_CURRENT_USER, L"Software\\Kelvane Software\\HVAC", 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE,
                   nullptr, &key, nullptr);
    const wchar_t* text = calloutFirst ? L"1" : L"0";
    RegSetValueEx(key, L"bCalloutFirst", 0, REG_SZ, reinterpret_cast<const BYTE*>(text), 2 * sizeof(wchar_t));
    RegCloseKey(key);
  }
  std::wstring File() const { return (folder_ / "bench_kv_hvac.kv").wstring(); }
  ~Project() {
    kvads::setCurrentSession(nullptr);
    VARIANT_BOOL done;
    db_->Close(&done);
    std::filesystem::remove_all(folder_);
  }
  const ProjectDatabasePtr& db() const { return db_; }

 void Run(const std::wstring& sql) { Exec(sql); }

 private:
  void Exec(const std::wstring& sql) {
    VARIANT_BOOL ok = VARIANT_FALSE;
    db_->Execute(_bstr_t(sql), &ok);
    if (!ok) std::abort();
  }
  std::filesystem::path folder_;
  ProjectDatabasePtr db_;
  kvlisp::Environment env_;
};

// The explorer with a hook at init and a stopwatch round the grid's click handling.
class TimedExplorer : public CDialogProjectExplorerHVAC {
 public:
  TimedExplorer() : CDialogProjectExplorerHVAC(L"d1.dwg") {}
  std::function<void(TimedExplorer&)> onInit, onClick;
  double lastClickSeconds = 0;
  int rows = 0;

 protected:
  BOOL OnInitDialog() override {
    BOOL r = CDialogProjectExplorerHVAC::OnInitDialog();
    if (onInit) onInit(*this);
    return r;
  }
  BOOL OnNotify(WPARAM w, LPARAM l, LRESULT* result) override {
    const auto start = std::chrono::steady_clock::now();
    BOOL r = CDialogProjectExplorerHVAC::OnNotify(w, l, result);
    if (w != kGrid || reinterpret_cast<NMHDR*>(l)->code != GVN_CLICK) return r;
    lastClickSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    rows = grid.GetRowCount();
    if (onClick) onClick(*this);
    return r;
  }
};

std::string Box(CGridCtrl& grid, int row) {
  CRect r;
  grid.GetCellRect(row, 0, &r);
  return "click #1090@" + std::to_string(r.left + 10 * (grid.m_TreeColumn.GetLevel(row) - 1) + 6) + "," +
         std::to_string(r.top + 8) + "\n";
}

int RowOf(const CGridCtrl& grid, const wchar_t* value, int from = 1) {
  for (int row = std::max(from, 1); row < grid.GetRowCount(); ++row)
    if (grid.GetItemText(row, L"sValue") == CString(value)) return row;
  return -1;
}

// Opening the project file: the connection checks every page of it once (a damaged file asks
// for repair), so this grows with the file; every dialog after it works on the open connection.
void BM_ProjectFileOpen(benchmark::State& state) {
  Project project(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    ProjectDatabasePtr db;
    CreateProjectDatabase(db);
    _bstr_t opened;
    db->Open(_bstr_t(project.File().c_str()), 0, 0, opened.GetAddress());
    VARIANT_BOOL done;
    db->Close(&done);
  }
  state.counters["ducts"] = static_cast<double>(state.range(0));
}
BENCHMARK(BM_ProjectFileOpen)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(3);

// Second argument: 1 sorts by callout first (the default), 0 by drawing first.
void BM_ExplorerOpen(benchmark::State& state) {
  Project project(static_cast<int>(state.range(0)));
  project.SetCalloutFirst(state.range(1) != 0);
  int rows = 0;
  for (auto _ : state) {
    TimedExplorer dialog;
    dialog.onInit = [&rows](TimedExplorer& d) { rows = d.grid.GetRowCount(); };
    dialog.SetConnection(project.db());
    dialog.DoModal();
    dialog.DestroyTables();
  }
  state.counters["ducts"] = static_cast<double>(state.range(0));
  state.counters["rows"] = rows;
}
BENCHMARK(BM_ExplorerOpen)->ArgsProduct({{1000, 100000}, {1, 0}})->Unit(benchmark::kMillisecond)->Iterations(3);

// Opens Ducts, then Supply, then a drawing under it: with the second argument 1 the first drawing
// (a quarter of a tenth of the ducts, the largest node), with 0 the drawing of 25 ducts.
void BM_ExplorerOpenNode(benchmark::State& state) {
  Project project(static_cast<int>(state.range(0)));
  const bool largest = state.range(1) != 0;
  int rows = 0;
  for (auto _ : state) {
    TimedExplorer dialog;
    int step = 0;
    dialog.onInit = [](TimedExplorer& d) { kvinput::InputQueue::instance().loadText(Box(d.grid, RowOf(d.grid, L"Ducts")), "bench"); };
    dialog.onClick = [&step, largest](TimedExplorer& d) {
      ++step;
      const int supply = RowOf(d.grid, L"Supply");
      if (step == 1) kvinput::InputQueue::instance().loadText(Box(d.grid, supply), "bench");
      if (step == 2) kvinput::InputQueue::instance().loadText(Box(d.grid, largest ? supply + 1 : RowOf(d.grid, L"z.dwg", supply)), "bench");
    };
    dialog.SetConnection(project.db());
    dialog.DoModal();
    dialog.DestroyTables();
    state.SetIterationTime(dialog.lastClickSeconds);
    rows = dialog.rows;
  }
  state.counters["ducts"] = static_cast<double>(state.range(0));
  state.counters["rows after"] = rows;
  state.SetLabel(largest ? "largest node" : "node of 25 ducts");
}
BENCHMARK(BM_ExplorerOpenNode)->ArgsProduct({{1000, 100000}, {1, 0}})->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_Options(benchmark::State& state) {
  Project project(1000);
  const bool ok = state.range(0) != 0;
  for (auto _ : state) {
    COptions dialog;
    dialog.blockFolder = L"/tmp/";
    dialog.SetConnection(project.db());
    if (ok) kvinput::InputQueue::instance().loadText("click #1\n", "bench");
    dialog.DoModal();
  }
  state.SetLabel(ok ? "open, OK writing every key" : "open to first paint");
}
BENCHMARK(BM_Options)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(5);

// One room's report: 24 hours of three months calculated for 200 rooms, so the two lookups of
// the cooling sections go through an index of 14,400 rows.
void BM_LoadDetail(benchmark::State& state) {
  Project project(1000);
  project.Run(L"update tblMonth set bDoCalculation = -1 where iMonth in (5, 6, 7)");
  project.Run(L"insert into tblLoadRoomCooling (ixRoomL, iMonth, iHour, dRoomTotal, dRoomTotalSensible) "
              L"with recursive c(x) as (select 0 union all select x + 1 from c where x < 14399) "
              L"select 1 + x / 72, 5 + (x / 24) % 3, x % 24, 1000 + x, 800 + x from c");
  project.Run(L"insert into tblLoadRoomHeating (ixRoomL, dRoomTotal) values (7, 5000)");
  tblLoadRoomCooling cooling(project.db().Get());
  tblLoadRoomHeating heating(project.db().Get());
  for (auto _ : state) {
    CLoadDetail dialog(project.db().Get(), &cooling, &heating);
    dialog.title = L"Room 7";
    dialog.loadId = -7;
    dialog.coolingMonth = dialog.loadMonth = 6;
    dialog.coolingHour = dialog.loadHour = 14;
    dialog.DoModal();
  }
  state.SetLabel("open to first paint");
}
BENCHMARK(BM_LoadDetail)->Unit(benchmark::kMillisecond)->Iterations(5);

// A floor tree list of 20 floors of 100 rooms each, as the layer hands it over.
resbuf* FloorPlan() {
  resbuf* head = acutBuildList(RTLB, 0);
  resbuf* tail = head;
  auto add = [&tail](resbuf* cells) {
    tail->rbnext = cells;
    while (tail->rbnext) tail = tail->rbnext;
  };
  for (int floor = 1; floor <= 20; ++floor) {
    add(acutBuildList(RTLB, RTSTR, (L"Floor " + std::to_wstring(floor)).c_str(), RTLONG, floor, RTDOTE, RTLB, 0));
    for (int room = 1; room <= 100; ++room) {
      const int ix = (floor - 1) * 100 + room;
      add(acutBuildList(RTLB, RTSTR, (L"Room " + std::to_wstring(ix)).c_str(), RTLONG, -ix, RTDOTE, 0));
    }
    add(acutBuildList(RTLE, 0));
  }
  add(acutBuildList(RTLE, 0));
  return head;
}

// The middle of an item's label as a queued-input target in the tree.
std::string TreePoint(CTreeCtrl& tree, HTREEITEM item) {
  CRect r;
  tree.GetItemRect(item, &r, TRUE);
  return "#" + std::to_string(CFloorTree::kTree) + "@" + std::to_string((r.left + r.right) / 2) + "," +
         std::to_string((r.top + r.bottom) / 2);
}

// Open to first paint; with a hook, one drop of two rooms on the last floor, timed alone; or the
// whole gesture from queued input: Floor 3's first two rooms picked and dragged onto Floor 2 (the
// other floors closed so that both ends are in sight), then Cancel.
class TimedFloorTree : public CFloorTree {
 private:
  int presses_ = 0;
  std::chrono::steady_clock::time_point pressed_;

 public:
  bool drop = false, queuedDrag = false;
  double dropSeconds = 0, gestureSeconds = 0;
  int secondFloorRooms = 0;  // after a drop: Floor 2 holds two more rooms when the drag landed

  // The third press on the tree is the drag's (after two picks); its drop ends the gesture.
  BOOL PreTranslateMessage(MSG* msg) override {
    if (msg->message == WM_LBUTTONDOWN && msg->hwnd == tree.m_hWnd && ++presses_ == 3) pressed_ = std::chrono::steady_clock::now();
    return CFloorTree::PreTranslateMessage(msg);
  }
  void onDrop(CPoint point, HTREEITEM target) override {
    CFloorTree::onDrop(point, target);
    gestureSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - pressed_).count();
    secondFloorRooms = 0;
    HTREEITEM floor2 = tree.GetNextSiblingItem(tree.GetRootItem());
    for (HTREEITEM i = tree.GetChildItem(floor2); i; i = tree.GetNextSiblingItem(i)) ++secondFloorRooms;
  }

 protected:
  BOOL OnInitDialog() override {
    const BOOL r = CFloorTree::OnInitDialog();
    if (queuedDrag) {
      HTREEITEM floor2 = tree.GetNextSiblingItem(tree.GetRootItem()), floor3 = tree.GetNextSiblingItem(floor2);
      for (HTREEITEM f = tree.GetRootItem(); f; f = tree.GetNextSiblingItem(f)) tree.Expand(f, f == floor3 ? TVE_EXPAND : TVE_COLLAPSE);
      HTREEITEM first = tree.GetChildItem(floor3), second = tree.GetNextSiblingItem(first);
      std::string script = "click " + TreePoint(tree, first) + "\nclick ctrl+" + TreePoint(tree, second) + "\n";
      script += "drag " + TreePoint(tree, second) + " to " + TreePoint(tree, floor2) + "\nclick #2\n";
      kvinput::InputQueue::instance().loadText(script, "bench");
      return r;
    }
    if (!drop) return r;
    HTREEITEM first = tree.GetChildItem(tree.GetRootItem());
    HTREEITEM last = tree.GetRootItem();
    while (HTREEITEM next = tree.GetNextSiblingItem(last)) last = next;
    tree.ClearSelection();
    tree.AddToSelection(first);
    tree.AddToSelection(tree.GetNextSiblingItem(first));
    const auto start = std::chrono::steady_clock::now();
    onDrop(CPoint(0, 0), last);
    dropSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return r;
  }
};

void BM_FloorTree(benchmark::State& state) {
  ResbufPtr plan(FloorPlan());
  const bool drop = state.range(0) != 0;
  for (auto _ : state) {
    TimedFloorTree dialog;
    dialog.drop = drop;
    dialog.SetList(plan.get(), false);
    dialog.DoModal();
    if (drop) state.SetIterationTime(dialog.dropSeconds);
  }
  state.SetLabel(drop ? "one drag and drop of two rooms" : "2,000 rooms on 20 floors, open to first paint");
}
BENCHMARK(BM_FloorTree)->Arg(0)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_FloorTree)->Arg(1)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

// The queued drag as a person makes it: press, four moves with the drag image over the tree and
// the drop highlight redrawn, drop.
void BM_FloorTreeQueuedDrag(benchmark::State& state) {
  ResbufPtr plan(FloorPlan());
  int rooms = 0;
  for (auto _ : state) {
    TimedFloorTree dialog;
    dialog.queuedDrag = true;
    dialog.SetList(plan.get(), false);
    dialog.DoModal();
    rooms = dialog.secondFloorRooms;
    state.SetIterationTime(dialog.gestureSeconds);
  }
  state.counters["floor 2 rooms after"] = rooms;
  state.SetLabel("one queued drag and drop of two rooms, drag image included");
}
BENCHMARK(BM_FloorTreeQueuedDrag)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

}  // namespace

BENCHMARK_MAIN();
