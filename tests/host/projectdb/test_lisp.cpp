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
  // Rows that tie on the sort column keep the statement's own order.
  EXPECT_EQ(Eval("(kvdb-query " + Lisp(file_) + " \"select ixDuct, AIRFLOW from tblDuct order by ixDuct\" \"ixDuct\" \"AIRFLOW\")"),
            "(4 3 1 2)");
  EXPECT_EQ(Eval("(hvac-projectExplorer_sqlQuery \"Select * from tblDuct where AIRFLOW= \\\"sa\\\" and bDeleted = 0\" "
                 "\"DRAWING\" \"DRAWING\")"),
            "(2 \"a.dwg\" \"b.dwg\")");
  EXPECT_EQ(Eval("(hvac-projectExplorer_sqlQuery \"Select * from tblDuct where AIRFLOW = \\\"oa\\\"\" \"ixDuct\" \"ixDuct\")"),
            "(0)");
}

// The explorer's questions, answered through the indices, give what the plain statements give;
// the test for an empty table answers with one live row or none. No answer reads a whole table.
TEST_F(ProjectLisp, ExplorerQueriesAnswerAsPlainSelectsWithoutReadingWholeTables) {
  Eval("(kvdb-create " + Lisp(file_) + ")");
  Eval("(setq f " + Lisp(file_) + ")");
  for (const char* sql :
       {"insert into tblDuct (DRAWING, AIRFLOW, bDeleted) values ('b.dwg', 'sa', 0), ('a.dwg', 'sa', 0), ('a.dwg', 'sa', 0), "
        "('c.dwg', 'sa', -1), (null, 'sa', 0), ('c.dwg', 'ra', 0), ('b.dwg', 'xx', 0)",
        "delete from tblDiffSGroup", "delete from tblDiffS",
        "insert into tblDiffSGroup (ixDiffSGroup, sName) values (1, 'Ceiling'), (2, 'Wall')",
        "insert into tblDiffS (ixDiffS, ixDiffSGroup, CALLOUT) values (1, 1, 'A'), (2, 1, 'B'), (3, 2, 'C')",
        "insert into tblDiffL (ixDiffS, DRAWING, bDeleted) values (1, 'b.dwg', 0), (1, 'a.dwg', 0), (2, 'c.dwg', 0), "
        "(2, 'd.dwg', -1), (3, 'a.dwg', 0)"})
    Eval("(kvdb-execute f \"" + std::string(sql) + "\")");
  Eval("(defun plain (sql column sort / v) (setq v (kvdb-query f (projectdb-narrowSelect sql column sort) column sort T))"
       " (cons (length v) v))");
  Eval("(defun scans (sql column sort) (vl-remove-if-not '(lambda (d) (wcmatch d \"SCAN tbl*\"))"
       " (kvdb-query f (strcat \"explain query plan \" (projectdb-explorerSql sql column sort)) \"detail\")))");
  const char* const questions[][3] = {
      {"Select * from tblDuct where AIRFLOW= \\\"sa\\\" and bDeleted = 0", "DRAWING", "DRAWING"},
      {"Select * from tblDuct where bDeleted = 0", "DRAWING", "DRAWING"},
      {"Select AIRFLOW, ixDuct from tblDuct where DRAWING = \\\"b.dwg\\\" and bDeleted = 0", "AIRFLOW", "AIRFLOW"},
      {"Select * from tblDuct where AIRFLOW = \\\"sa\\\" and DRAWING = \\\"a.dwg\\\" and bDeleted = 0", "ixDuct", "ixDuct"},
      {"Select * from tblDiffL where ixDiffS = 1 and bDeleted = 0", "DRAWING", "DRAWING"},
      {"Select * from tblDiffL, tblDiffS  where tblDiffL.ixDiffS = tblDiffS.ixDiffS and tblDiffS.ixDiffSGroup = 1 and "
       "tblDiffL.bDeleted = 0", "DRAWING", "DRAWING"},
      {"Select tblDiffL.ixDiffS, tblDiffS.CALLOUT from tblDiffL, tblDiffS  where tblDiffL.ixDiffS = tblDiffS.ixDiffS and "
       "tblDiffS.ixDiffSGroup = 1 and tblDiffL.DRAWING = \\\"b.dwg\\\" and tblDiffL.bDeleted = 0", "ixDiffS", "CALLOUT"},
      {"Select * from tblDiffS  where ixDiffSGroup = 1", "ixDiffS", "CALLOUT"},
  };
  for (const auto& q : questions) {
    const std::string args = "\"" + std::string(q[0]) + "\" \"" + q[1] + "\" \"" + q[2] + "\"";
    EXPECT_EQ(Eval("(hvac-projectExplorer_sqlQuery " + args + ")"), Eval("(plain " + args + ")")) << q[0];
    // How SQLite plans the statement is a question for the file engine only.
    if (!OnServer()) {
      EXPECT_EQ(Eval("(scans " + args + ")"), "nil") << q[0];
    }
  }
  EXPECT_EQ(Eval("(hvac-projectExplorer_sqlQuery \"Select * from tblDuct where AIRFLOW= \\\"sa\\\" and bDeleted = 0\" "
                 "\"DRAWING\" \"DRAWING\")"),
            "(3 nil \"a.dwg\" \"b.dwg\")")
      << "a duct without a drawing is one value, a deleted one none";
  // The test for an empty table: one live key, or none once every row is deleted.
  const std::string emptyTest = "(hvac-projectExplorer_sqlQuery \"Select * from tblDiffL where bDeleted = 0\" \"ixDiffL\" \"ixDiffL\")";
  EXPECT_EQ(Eval("(car " + emptyTest + ")"), "1");
  EXPECT_EQ(Eval("(kvdb-query f (strcat \"select bDeleted from tblDiffL where ixDiffL = \" (itoa (cadr " + emptyTest + "))))"),
            "(0)");
  Eval("(kvdb-execute f \"update tblDiffL set bDeleted = -1\")");
  EXPECT_EQ(Eval(emptyTest), "(0)");
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
  // The name goes by the folder's last part, however the folder is written.
  const std::string ext = OnServer() ? ".kvlink" : ".kv";
  EXPECT_EQ(Eval("(kvdb-newPath \"/a/b/office//\" \"kv_hvac\")"), Lisp("/a/b/office/office_kv_hvac" + ext));
  EXPECT_EQ(Eval("(kvdb-newPath \"c:\\\\jobs\\\\annex\" \"kv_hvac\")"), Lisp("c:\\\\jobs\\\\annex/annex_kv_hvac" + ext));
}

}  // namespace
}  // namespace kvtest
