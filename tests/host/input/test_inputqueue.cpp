// The input grammar and the queue.
#include <gtest/gtest.h>

#include "inputqueue.h"

using kvinput::Event;
using kvinput::EventKind;
using kvinput::parseLine;

namespace {

Event parse(const std::string& line) {
  auto e = parseLine(line, "t:1");
  if (!e) throw std::runtime_error("no event");
  return *e;
}

std::string fault(const std::string& line) {
  try {
    parseLine(line, "t:1");
  } catch (const kvinput::ParseError& e) {
    return e.what();
  }
  return "no error";
}

TEST(InputGrammar, PromptEvents) {
  Event p = parse("point 10,20");
  EXPECT_EQ(p.kind, EventKind::Point);
  EXPECT_EQ(p.x, 10);
  EXPECT_EQ(p.y, 20);
  EXPECT_EQ(p.z, 0);
  EXPECT_FALSE(p.hasZ);
  EXPECT_EQ(p.source, "t:1");
  p = parse("  POINT -1.5, 2e1 ,5 ");
  EXPECT_EQ(p.x, -1.5);
  EXPECT_EQ(p.y, 20);
  EXPECT_EQ(p.z, 5);
  EXPECT_TRUE(p.hasZ);
  EXPECT_EQ(parse("enter").kind, EventKind::Enter);
  EXPECT_EQ(parse("Esc").kind, EventKind::Escape);
  Event t = parse("text Supply  duct ");
  EXPECT_EQ(t.kind, EventKind::Text);
  EXPECT_EQ(t.text, "Supply  duct");
  EXPECT_EQ(parse("type 12.5").text, "12.5");
  EXPECT_FALSE(parseLine("   "));
  EXPECT_FALSE(parseLine("# point 1,2"));
}

TEST(InputGrammar, KeysAndButtons) {
  Event k = parse("key ctrl+shift+end");
  EXPECT_EQ(k.kind, EventKind::Key);
  EXPECT_EQ(k.text, "END");
  EXPECT_EQ(k.modifiers, kvinput::kCtrl | kvinput::kShift);
  EXPECT_EQ(parse("key f12").text, "F12");
  EXPECT_EQ(parse("key a").text, "A");
  EXPECT_EQ(parse("key ctrl+add").text, "ADD");  // the grid expands a whole outline on Ctrl+pad plus
  Event c = parse("click #1001@5,3 in Options");
  EXPECT_EQ(c.kind, EventKind::Click);
  EXPECT_TRUE(c.target.hasControl);
  EXPECT_EQ(c.target.controlId, 1001);
  EXPECT_TRUE(c.target.hasPoint);
  EXPECT_EQ(c.target.y, 3);
  EXPECT_EQ(c.target.window, "Options");
  Event m = parse("click ctrl+40,12");
  EXPECT_EQ(m.modifiers, kvinput::kCtrl);
  EXPECT_EQ(m.target.x, 40);
  EXPECT_FALSE(m.target.hasControl);
  EXPECT_EQ(parse("dblclick #7").kind, EventKind::DoubleClick);
  EXPECT_EQ(parse("rclick 1,1").kind, EventKind::RightClick);
  Event d = parse("drag #5@1,2 to 30,40 in Load Detail");
  EXPECT_EQ(d.kind, EventKind::Drag);
  EXPECT_EQ(d.target.controlId, 5);
  EXPECT_EQ(d.target2.x, 30);
  EXPECT_EQ(d.target2.window, "Load Detail");
  EXPECT_EQ(parse("move 3,4").kind, EventKind::Move);
  Event w = parse("wheel -2 #9");
  EXPECT_EQ(w.amount, -2);
  EXPECT_EQ(w.target.controlId, 9);
  EXPECT_EQ(parse("wheel 3").amount, 3);
}

TEST(InputGrammar, DialogAnswersAndTime) {
  EXPECT_EQ(parse("answer YES").text, "yes");
  EXPECT_EQ(parse("file /tmp/a b.dwg").text, "/tmp/a b.dwg");
  EXPECT_EQ(parse("file cancel").text, "") << "a cancelled dialog has no path";
  EXPECT_EQ(parse("print out.pdf").kind, EventKind::PrintDialog);
  EXPECT_EQ(parse("print Cancel").text, "");
  EXPECT_EQ(parse("file ./cancel").text, "./cancel") << "a file named cancel, written with its folder";
  Event w = parse("wait 250");
  EXPECT_EQ(w.kind, EventKind::Wait);
  EXPECT_EQ(w.amount, 250);
  Event shot = parse("picture /tmp/a dialog.png");
  EXPECT_EQ(shot.kind, EventKind::Picture);
  EXPECT_EQ(shot.text, "/tmp/a dialog.png");
  EXPECT_EQ(fault("picture"), "t:1: picture needs a PNG path");
}

TEST(InputGrammar, FaultsNameTheLine) {
  EXPECT_EQ(fault("jump 1,2"), "t:1: unknown event 'jump'");
  EXPECT_EQ(fault("point 1"), "t:1: bad point '1': expected X,Y or X,Y,Z");
  EXPECT_EQ(fault("point 1,2,3,4"), "t:1: bad point '1,2,3,4': expected X,Y or X,Y,Z");
  EXPECT_EQ(fault("point a,b"), "t:1: bad point 'a,b': expected X,Y or X,Y,Z");
  EXPECT_EQ(fault("enter now"), "t:1: 'enter' takes nothing after it");
  EXPECT_EQ(fault("key F13"), "t:1: unknown key 'F13'");
  EXPECT_EQ(fault("key ctrl+"), "t:1: unknown key 'ctrl+'");
  EXPECT_EQ(fault("click"), "t:1: bad target '': expected X,Y or #ID");
  EXPECT_EQ(fault("click #x"), "t:1: bad control id in '#x'");
  EXPECT_EQ(fault("click 1,2 in "), "t:1: bad target '1,2 in': expected X,Y or #ID");
  EXPECT_EQ(fault("drag 1,2"), "t:1: drag needs 'FROM to TO'");
  EXPECT_EQ(fault("answer maybe"), "t:1: unknown answer 'maybe'");
  EXPECT_EQ(fault("file"), "t:1: file needs a path or 'cancel'");
  EXPECT_EQ(fault("wait -5"), "t:1: wait needs milliseconds");
  EXPECT_EQ(fault("wheel x"), "t:1: wheel needs a number of notches");
  EXPECT_EQ(fault("picture"), "t:1: picture needs a PNG path");
}

TEST(InputQueue, OrderAtomicLoadsAndClock) {
  auto& q = kvinput::InputQueue::instance();
  q.clear();
  EXPECT_TRUE(q.empty());
  EXPECT_EQ(q.peek(), nullptr);
  EXPECT_FALSE(q.pop());
  q.loadText("point 1,2\n# comment\nenter\n", "s");
  EXPECT_THROW(q.loadText("esc\nbogus\n", "s"), kvinput::ParseError);
  EXPECT_EQ(q.size(), 2u) << "a file with a bad line adds nothing";
  EXPECT_EQ(q.peek()->source, "s:1");
  EXPECT_EQ(q.pop()->kind, EventKind::Point);
  q.push(parse("esc"));
  EXPECT_EQ(q.pop()->kind, EventKind::Enter);
  EXPECT_EQ(q.pop()->kind, EventKind::Escape);
  EXPECT_TRUE(q.empty());
  try {
    q.loadText("esc\n\nwheel\n", "f.txt");
    FAIL();
  } catch (const kvinput::ParseError& e) {
    EXPECT_STREQ(e.what(), "f.txt:3: wheel needs a number of notches");
  }
  EXPECT_THROW(q.loadFile("/no/such/input.txt"), kvinput::ParseError);
  auto before = q.clockMs();
  q.advanceClock(40);
  EXPECT_EQ(q.clockMs(), before + 40);
  q.clear();
}

}  // namespace
