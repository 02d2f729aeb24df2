// A LISP environment whose console output a test reads back.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "lisp.h"

class LispTest : public ::testing::Test {
 protected:
  void SetUp() override {
    kvads::setConsoleSink([this](std::string_view s) { out += s; });
    kvads::setCurrentSession(&env);
  }
  void TearDown() override {
    kvads::setConsoleSink(nullptr);
    kvads::setCurrentSession(nullptr);
  }
  // The value of a source text as prin1 writes it; an error's text prefixed "ERROR: ".
  std::string ev(const std::string& source) {
    try {
      return env.evalString(source).print(true);
    } catch (const kvlisp::Error& e) {
      return std::string("ERROR: ") + e.what();
    }
  }
  kvlisp::Environment env;
  std::string out;
};
