// A new project of `ducts` duct rows for the project database's benchmarks: widths, an air
// system, a drawing and a scattered distance, filled by the engine in one statement so that
// making it costs little beside what is measured. FILE may be a project file or a link file.
#pragma once

#include <stdexcept>
#include <string>

#include "ProjectDatabase.h"

inline ProjectDatabasePtr createBenchProject(const std::string& file, int ducts) {
  ProjectDatabasePtr db;
  VARIANT_BOOL ok = VARIANT_FALSE;
  ComCheck(CreateProjectDatabase(db));
  ComCheck(db->CreateProject(_bstr_t(Utf8ToWide(file)), &ok));
  if (!ok) throw std::runtime_error("cannot create " + file);
  if (ducts <= 0) return db;
  std::wstring fill = L"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
                      std::to_wstring(ducts) +
                      L") INSERT INTO tblDuct (WIDTH, DEPTH, DISTANCE1, AIRFLOW, DRAWING) "
                      L"SELECT 12, 8, (i * 7919) % 100003, \"sa\", \"plan.dwg\" FROM n";
  ComCheck(db->Execute(_bstr_t(fill), &ok));
  return db;
}

// A row of one field for AddRecord or UpdateRecord: its name, then its value.
inline SafeArrayPtr oneField(const wchar_t* name, const _variant_t& value) {
  SafeArrayPtr row(SafeArrayCreateVector(VT_VARIANT, 0, 2));
  LONG at = 0;
  _variant_t n(name);
  SafeArrayPutElement(row.get(), &at, &n);
  at = 1;
  SafeArrayPutElement(row.get(), &at, &value);
  return row;
}
