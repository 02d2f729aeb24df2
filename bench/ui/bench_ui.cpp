// Windowing benchmarks: frames per second of painting a dialog of 50 controls into its
// off-screen picture, and queued mouse-move events delivered per second.
#include <benchmark/benchmark.h>

#include "inputqueue.h"
#include "ui.h"

namespace {

constexpr UINT kFifty = 9500;

// Ten rows of five controls: label, edit, drop-down list, check box, button; a tree and a list
// beside them would change the count, so the fifty are all of the row kinds.
void registerFifty() {
  DialogTemplate t;
  t.id = kFifty;
  t.title = L"Fifty controls";
  t.style |= WS_VISIBLE;
  t.cx = 330;
  t.cy = 170;
  for (int row = 0; row < 10; ++row) {
    short y = static_cast<short>(5 + row * 16);
    UINT base = 1000 + static_cast<UINT>(row) * 10;
    t.items.push_back(kvui::LText(L"Supply CFM", base, 5, y + 2, 50, 8));
    t.items.push_back(kvui::EditText(base + 1, 58, y, 60, 13));
    t.items.push_back(kvui::ComboBox(base + 2, 122, y, 70, 60));
    t.items.push_back(kvui::Control(L"Lined", base + 3, L"Button", BS_AUTOCHECKBOX | WS_TABSTOP, 196, y + 1, 50, 10));
    t.items.push_back(kvui::PushButton(L"&Edit. . .", base + 4, 250, y, 60, 14));
  }
  kvui::RegisterDialogTemplate(t);
}

class Fifty : public CDialog {
 public:
  Fifty() : CDialog(kFifty) {}
  BOOL OnInitDialog() override {
    CDialog::OnInitDialog();
    for (int row = 0; row < 10; ++row) {
      SetDlgItemText(1000 + row * 10 + 1, L"1,250");
      for (LPCTSTR s : {L"Supply", L"Return", L"Exhaust"}) SendDlgItemMessage(1000 + row * 10 + 2, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(s));
      SendDlgItemMessage(1000 + row * 10 + 2, CB_SETCURSEL, static_cast<WPARAM>(row % 3));
    }
    return TRUE;
  }
};

void BM_PaintDialogOfFiftyControls(benchmark::State& state) {
  registerFifty();
  Fifty dlg;
  dlg.Create(kFifty);
  for (auto _ : state)
    RedrawWindow(dlg.m_hWnd, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN | RDW_UPDATENOW);
  state.counters["frames_per_s"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
  dlg.DestroyWindow();
  kvui::ResetWindowingState();
}
BENCHMARK(BM_PaintDialogOfFiftyControls)->Unit(benchmark::kMillisecond);

class MoveCounter : public CWnd {
 public:
  long moves = 0;
  void OnMouseMove(UINT, CPoint) override { ++moves; }
};

void BM_DeliverQueuedMouseMoves(benchmark::State& state) {
  MoveCounter w;
  w.CreateEx(0, L"KvHostFrame", L"Moves", WS_POPUP | WS_VISIBLE, CRect(0, 0, 400, 300), nullptr, 0);
  auto& q = kvinput::InputQueue::instance();
  const int n = 100000;
  for (auto _ : state) {
    state.PauseTiming();
    q.clear();
    for (int i = 0; i < n; ++i) {
      kvinput::Event e;
      e.kind = kvinput::EventKind::Move;
      e.target.hasPoint = true;
      e.target.x = i % 400;
      e.target.y = (i / 400) % 300;
      q.push(e);
    }
    state.ResumeTiming();
    kvui::DeliverQueuedInput();
  }
  state.counters["events_per_s"] = benchmark::Counter(static_cast<double>(state.iterations()) * n, benchmark::Counter::kIsRate);
  benchmark::DoNotOptimize(w.moves);
  w.DestroyWindow();
  kvui::ResetWindowingState();
}
BENCHMARK(BM_DeliverQueuedMouseMoves)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
