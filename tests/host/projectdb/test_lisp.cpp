// Tests of the project database's LISP functions and the application layer built on them.
#include "fixture.h"
#include "lisp.h"

namespace kvtest {
namespace {

class ProjectLisp : public ProjectFixture {
 protected:
  void SetUp() override {
    ProjectFixture::SetUp();
    env_.load("lisp/projectdb.lsp");
    // The drawing's folder, as the drawing host reports it.
    env_.evalString("(defun getvar (name) \"" + folder_.string() + "/\")");
  }
  std::string Eval(const std::string& source) { return env_.evalString(source).print(); }
  std::string Lisp(const std::string& text) { return "\"" + text + "\""; }

  kvlisp::Environment env_;
};

TEST_F(ProjectLisp, CreateQueryExecuteAndExplorerAnswerShape) {
  EXPECT_EQ(Eval("(kvdb-create " + Lisp(file_) + ")"), "T");
  EXPECT_EQ(Eval("(kvdb-find " + Lisp(folder_.string() + "  ") + " \"kv_hvac\")"), Lisp(file_));
  for (const char* row : {"(1, 'b.dwg', 'sa')", "(2, 'a.dwg', 'sa')", "(3, 'b.dwg', 'ra')", "(4, 'c.dwg', 'ea')"})
    Eval("(kvdb-execute " + Lisp(file_) + " \"insert into tblDuct (ixDuct, DRAWING, AIRFLOW) values " + row + "\")");
  EXPECT_EQ(Eval("(kvdb-execute " + Lisp(file_) + " \"update tblDuct set bDeleted = -1 where DRAWING = \\\"c.dwg\\\"\")"), "T");
  // Values of one column, ordered by another, repeats dropped on request.
  EXPECT_EQ(Eval("(kvdb-query " + Lisp(file_) + " \"select * from tblDuct where bDeleted = 0\" \"DRAWING\" \"DRAWING\" T)"),
            "(\"a.dwg\" \"b.dwg\")");
  EXPECT_EQ(Eval("(kvdb-query " + Lisp(file_) + " \"select ixDuct, AIRFLOW from tblDuct\" \"ixDuct\" \"AIRFLOW\")"),
            "(4 3 1 2)");
  EXPECT_EQ(Eval("(hvac-projectExplorer_sqlQuery \"Select * from tblDuct where AIRFLOW= \\\"sa\\\" and bDeleted = 0\" "
                 "\"DRAWING\" \"DRAWING\")"),
            "(2 \"a.dwg\" \"b.dwg\")");
  EXPECT_EQ(Eval("(hvac-projectExplorer_sqlQuery \"Select * from tblDuct where AIRFLOW = \\\"oa\\\"\" \"ixDuct\" \"ixDuct\")"),
            "(0)");
}

TEST_F(ProjectLisp, FailuresAreLispErrorsWithTheDatabaseText) {
  try {
    Eval("(kvdb-query " + Lisp(file_) + " \"select 1\")");
    FAIL() << "no error";
  } catch (const kvlisp::Error& e) {
    EXPECT_NE(std::string(e.what()).find("kvdb-query: Could not find file"), std::string::npos) << e.what();
  }
  Eval("(kvdb-create " + Lisp(file_) + ")");
  EXPECT_THROW(Eval("(kvdb-create " + Lisp(file_) + ")"), kvlisp::Error);
  EXPECT_THROW(Eval("(kvdb-execute " + Lisp(file_) + " \"update tblNone set x = 1\")"), kvlisp::Error);
  EXPECT_THROW(Eval("(kvdb-query " + Lisp(file_) + " \"select * from tblDuct\" \"NOCOLUMN\")"), kvlisp::Error);
  // Without a project file in the folder the explorer gets no answer.
  std::filesystem::rename(file_, file_ + ".old");
  EXPECT_EQ(Eval("(hvac-projectExplorer_sqlQuery \"select * from tblDuct\" \"ixDuct\" \"ixDuct\")"), "nil");
}

TEST_F(ProjectLisp, CompactDatabaseRepairsAndKeepsTheOldFile) {
  KV_FILE_BACK_END_ONLY();
  Eval("(kvdb-create " + Lisp(file_) + ")");
  Eval("(kvdb-execute " + Lisp(file_) + " \"insert into tblDuct (WIDTH) values (14)\")");
  EXPECT_EQ(Eval("(compactDatabase " + Lisp(file_) + " nil \"Repair\")"), "T");
  EXPECT_TRUE(std::filesystem::exists(file_ + ".damaged"));
  // The connection cached before the repair is not reused for the new file.
  EXPECT_EQ(Eval("(kvdb-query " + Lisp(file_) + " \"select WIDTH from tblDuct\")"), "(14.0)");
  EXPECT_EQ(Eval("(compactDatabase " + Lisp((folder_ / "none_kv_hvac.kv").string()) + " nil \"Repair\")"), "nil");
}

TEST_F(ProjectLisp, CreateProjectMakesTheFolderFileOnce) {
  // With a server named for new projects, the project is made there behind a link file.
  std::string made = folder_.string() + "/" + folder_.filename().string() + (OnServer() ? "_kv_hvac.kvlink" : "_kv_hvac.kv");
  EXPECT_EQ(Eval("(projectdb-createProject " + Lisp(folder_.string() + "/") + ")"), Lisp(made));
  Eval("(kvdb-execute " + Lisp(made) + " \"insert into tblDuct (WIDTH) values (3)\")");
  // A second call finds the file and leaves its rows alone.
  EXPECT_EQ(Eval("(projectdb-createProject " + Lisp(folder_.string()) + ")"), Lisp(made));
  EXPECT_EQ(Eval("(kvdb-query " + Lisp(made) + " \"select count(*) from tblDuct\")"), "(1)");
}

}  // namespace
}  // namespace kvtest
