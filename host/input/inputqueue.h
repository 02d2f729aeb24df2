// The one queue of scripted user input: what a person would type, pick and click, in order.
// Prompts, jigs, message boxes, file dialogs and windows all read from it; with the queue empty a
// prompt answers as Esc and a modal dialog ends with Cancel. The grammar is in
// host/kvhost/README.md.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace kvinput {

enum class EventKind {
  Point,        // point X,Y[,Z]          a picked point, world coordinates
  Enter,        // enter                   an empty answer
  Escape,       // esc                     a cancel
  Text,         // text REST OF LINE       typed at a prompt, then Enter
  Key,          // key [ctrl+][shift+][alt+]NAME  a key press (down, then up)
  Chars,        // type REST OF LINE       characters typed into the focused window
  Click,        // click TARGET            left button down and up
  DoubleClick,  // dblclick TARGET
  RightClick,   // rclick TARGET
  Drag,         // drag TARGET to TARGET   left button down, moves, up
  Move,         // move TARGET             mouse move
  Wheel,        // wheel N [TARGET]        N notches, positive away from the user
  MessageBox,   // answer ok|cancel|yes|no|abort|retry|ignore
  FileDialog,   // file PATH | file cancel     text: the path, empty for cancel
  PrintDialog,  // print PATH.pdf | print cancel  text: the path, empty for cancel
  Wait,         // wait MS                 advances the clock by MS milliseconds (timers fire)
  Picture,      // picture PATH.png        the active window as it is now, for a user guide
};

// Where a window event lands. Either a point in the client coordinates of the active window
// (x,y), or a control by its id (#1001), with an optional point inside it (#1001@5,3); in both
// forms a window may be named by its title ("in Options") instead of the active one.
struct Target {
  bool hasPoint = false;
  int x = 0, y = 0;
  bool hasControl = false;
  int controlId = 0;
  std::string window;  // empty: the active window
};

enum Modifier : unsigned { kNone = 0, kCtrl = 1, kShift = 2, kAlt = 4 };

struct Event {
  EventKind kind = EventKind::Enter;
  double x = 0, y = 0, z = 0;  // Point
  bool hasZ = false;
  std::string text;            // Text, Chars, Key name (upper case: F2, TAB, A, DOWN), answers,
                               // dialog paths (empty: cancelled)
  unsigned modifiers = kNone;  // Key, and the button events
  Target target, target2;      // button events; target2 is where a Drag ends
  int amount = 0;              // Wheel notches, Wait milliseconds
  std::string source;          // "file:line" for messages
};

struct ParseError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Parses one line of the grammar. Blank lines and lines starting with '#' give no event.
// Throws ParseError naming the line's fault.
std::optional<Event> parseLine(const std::string& line, const std::string& source = "");

class InputQueue {
 public:
  static InputQueue& instance();

  void push(Event e);
  // Adds every event of a file; throws ParseError with "file:line: ..." and adds nothing then.
  void loadFile(const std::string& path);
  void loadText(const std::string& text, const std::string& source = "input");

  bool empty() const;
  std::size_t size() const;
  const Event* peek() const;  // null when empty
  std::optional<Event> pop();
  void clear();

  // The queue's clock: timers fire from it, never from wall time. Wait events advance it.
  std::uint64_t clockMs() const { return clockMs_; }
  void advanceClock(std::uint64_t ms) { clockMs_ += ms; }

 private:
  std::vector<Event> events_;
  std::size_t head_ = 0;
  std::uint64_t clockMs_ = 0;
};

}  // namespace kvinput
