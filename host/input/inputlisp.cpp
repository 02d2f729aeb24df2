// (kvhost-input "line" ...): scripts add events to the user-input queue.
#include "inputqueue.h"
#include "lisp.h"

namespace {

// All lines are parsed before any is queued, so that a bad line adds nothing.
kvlisp::Value input(kvlisp::Environment&, kvlisp::Args args) {
  std::vector<kvinput::Event> events;
  for (std::size_t i = 0; i < args.size(); ++i) {
    try {
      if (auto e = kvinput::parseLine(kvlisp::argString(args, i), "kvhost-input"))
        events.push_back(std::move(*e));
    } catch (const kvinput::ParseError& e) {
      throw kvlisp::Error(e.what());
    }
  }
  for (auto& e : events) kvinput::InputQueue::instance().push(std::move(e));
  return kvlisp::Value::integer(static_cast<std::int32_t>(kvinput::InputQueue::instance().size()));
}

kvlisp::Value inputClear(kvlisp::Environment&, kvlisp::Args) {
  kvinput::InputQueue::instance().clear();
  return kvlisp::Value();
}

const kvlisp::NativeDef kInput[] = {
    {"kvhost-input", "(kvhost-input [line...])",
     "Adds events to the user-input queue, one line of its grammar each; the queue's length.", input},
    {"kvhost-input-clear", "(kvhost-input-clear)", "Empties the user-input queue.", inputClear},
};

const kvlisp::NativeRegistrar registrar(kInput);

}  // namespace
