// Cell values moved between SQLite and VARIANTs, and the Access-to-SQLite SQL rewrite.
#include "sqlite.h"

#include <cctype>

namespace kvprojectdb {

Cell Cell::FromColumn(sqlite3_stmt* s, int column) {
  Cell c;
  c.ReadColumn(s, column);
  return c;
}

void Cell::ReadColumn(sqlite3_stmt* s, int column) {
  type = sqlite3_column_type(s, column);
  switch (type) {
    case SQLITE_INTEGER: i = sqlite3_column_int64(s, column); break;
    case SQLITE_FLOAT: d = sqlite3_column_double(s, column); break;
    case SQLITE_NULL: break;
    default: {
      type = SQLITE_TEXT;
      auto* chars = reinterpret_cast<const char*>(sqlite3_column_text(s, column));
      text.assign(chars ? chars : "", static_cast<std::size_t>(sqlite3_column_bytes(s, column)));
      return;
    }
  }
  text.clear();
}

void Cell::Bind(sqlite3_stmt* s, int index) const {
  switch (type) {
    case SQLITE_INTEGER: sqlite3_bind_int64(s, index, i); break;
    case SQLITE_FLOAT: sqlite3_bind_double(s, index, d); break;
    case SQLITE_TEXT: sqlite3_bind_text(s, index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT); break;
    default: sqlite3_bind_null(s, index);
  }
}

bool Cell::FromVariant(const VARIANT& v, Cell& out) {
  out = Cell{};
  switch (v.vt) {
    case VT_EMPTY:
    case VT_NULL: return true;
    case VT_I2: out.type = SQLITE_INTEGER; out.i = v.iVal; return true;
    case VT_I4: out.type = SQLITE_INTEGER; out.i = v.lVal; return true;
    case VT_BOOL: out.type = SQLITE_INTEGER; out.i = v.boolVal ? -1 : 0; return true;
    case VT_R8: out.type = SQLITE_FLOAT; out.d = v.dblVal; return true;
    case VT_BSTR:
      out.type = SQLITE_TEXT;
      out.text = WideToUtf8(std::wstring_view(v.bstrVal ? v.bstrVal : L"", SysStringLen(v.bstrVal)));
      return true;
    default: return false;
  }
}

namespace {

bool isWordChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

// Copies a quoted run starting at sql[i] (the opening quote) into out, as a single-quoted literal
// when quote is '"'; answers the index after the closing quote.
std::size_t copyQuoted(std::string_view sql, std::size_t i, std::string& out) {
  char quote = sql[i];
  out += '\'';
  for (++i; i < sql.size(); ++i) {
    char c = sql[i];
    if (c == quote) {
      if (i + 1 < sql.size() && sql[i + 1] == quote) {  // a doubled quote stands for itself
        out += quote == '\'' ? "''" : "\"";
        ++i;
        continue;
      }
      out += '\'';
      return i + 1;
    }
    out += (c == '\'' && quote == '"') ? std::string("''") : std::string(1, c);
  }
  out += '\'';  // unterminated: close it so SQLite reports the real mistake, not ours
  return i;
}

bool wordAt(std::string_view sql, std::size_t i, std::string_view word) {
  if (sql.size() - i < word.size()) return false;
  for (std::size_t k = 0; k < word.size(); ++k)
    if (std::tolower(static_cast<unsigned char>(sql[i + k])) != word[k]) return false;
  std::size_t end = i + word.size();
  return end == sql.size() || !isWordChar(sql[end]);
}

}  // namespace

std::string TranslateSql(std::string_view sql) {
  std::string out;
  out.reserve(sql.size() + 8);
  std::size_t i = 0;
  while (i < sql.size()) {
    char c = sql[i];
    if (c == '"' || c == '\'') {
      i = copyQuoted(sql, i, out);
    } else if (c == '[') {
      std::size_t close = sql.find(']', i);
      if (close == std::string_view::npos) close = sql.size();
      out += '"';
      out.append(sql.substr(i + 1, close - i - 1));
      out += '"';
      i = close + 1;
    } else if (isWordChar(c) && (i == 0 || !isWordChar(sql[i - 1]))) {
      std::size_t end = i;
      while (end < sql.size() && isWordChar(sql[end])) ++end;
      if (wordAt(sql, i, "true")) out += "-1";
      else if (wordAt(sql, i, "false")) out += "0";
      else out.append(sql.substr(i, end - i));
      i = end;
    } else {
      out += c;
      ++i;
    }
  }
  return out;
}

}  // namespace kvprojectdb
