// Text over Pango with pinned fonts: the fontconfig set that only knows the DejaVu files, the
// platform faces mapped onto them, DrawText with its DT_ flags, extents and metrics.
#include <fontconfig/fontconfig.h>
#include <pango/pangofc-fontmap.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cwctype>
#include <map>
#include <stdexcept>

#include "impl.h"

using namespace kvui::detail;

namespace {

const char* kFontFiles[] = {
    "DejaVuSans.ttf",     "DejaVuSans-Bold.ttf",     "DejaVuSans-Oblique.ttf", "DejaVuSans-BoldOblique.ttf",
    "DejaVuSansMono.ttf", "DejaVuSansMono-Bold.ttf",
};

// A configuration built from nothing but the DejaVu files: the user's and the system's
// fontconfig rules and fonts never enter, so every machine lays text out alike.
FcConfig* pinnedConfig() {
  static FcConfig* config = [] {
    const char* env = std::getenv("KV_FONT_DIR");
    std::string dir = env && *env ? env : "/usr/share/fonts/truetype/dejavu";
    FcConfig* c = FcConfigCreate();
    for (const char* f : kFontFiles) {
      std::string path = dir + "/" + f;
      bool ok = FcConfigAppFontAddFile(c, reinterpret_cast<const FcChar8*>(path.c_str()));
      if (!ok && f == kFontFiles[0]) {
        FcConfigDestroy(c);
        throw std::runtime_error("windowing: the font " + path +
                                 " is missing; scripts/install-deps installs it (fonts-dejavu-core)");
      }
    }
    return c;
  }();
  return config;
}

PangoLayout* newLayout(HFONT font, double px, const std::wstring& text, int underlineAt) {
  PangoLayout* layout = pango_layout_new(pangoContext());
  HFONT__* f = asFont(font);
  LOGFONT lf = f ? f->lf : defaultGuiFont();
  PangoFontDescription* desc = describeFont(lf, px);
  pango_layout_set_font_description(layout, desc);
  pango_font_description_free(desc);
  std::string utf8 = kvui::toUtf8(text);
  pango_layout_set_text(layout, utf8.c_str(), static_cast<int>(utf8.size()));
  PangoAttrList* attrs = pango_attr_list_new();
  if (lf.lfUnderline || lf.lfStrikeOut) {
    if (lf.lfUnderline) pango_attr_list_insert(attrs, pango_attr_underline_new(PANGO_UNDERLINE_SINGLE));
    if (lf.lfStrikeOut) pango_attr_list_insert(attrs, pango_attr_strikethrough_new(TRUE));
  } else if (underlineAt >= 0 && static_cast<std::size_t>(underlineAt) < text.size()) {
    auto start = kvui::toUtf8(text.substr(0, static_cast<std::size_t>(underlineAt))).size();
    auto len = kvui::toUtf8(text.substr(static_cast<std::size_t>(underlineAt), 1)).size();
    PangoAttribute* a = pango_attr_underline_new(PANGO_UNDERLINE_SINGLE);
    a->start_index = static_cast<guint>(start);
    a->end_index = static_cast<guint>(start + len);
    pango_attr_list_insert(attrs, a);
  }
  pango_layout_set_attributes(layout, attrs);
  pango_attr_list_unref(attrs);
  return layout;
}

// '&x' underlines x, "&&" is one '&'.
std::wstring stripPrefix(const std::wstring& in, int& underlineAt) {
  std::wstring out;
  underlineAt = -1;
  for (std::size_t i = 0; i < in.size(); ++i) {
    if (in[i] == L'&' && i + 1 < in.size()) {
      ++i;
      if (in[i] != L'&' && underlineAt < 0) underlineAt = static_cast<int>(out.size());
    } else if (in[i] == L'&') {
      continue;
    }
    out += in[i];
  }
  return out;
}

double fontPixels(HDC dc) {
  HFONT__* f = asFont(currentFont(dc));
  return emPixels(f ? f->lf.lfHeight : defaultGuiFont().lfHeight) * std::fabs(dcScaleY(dc));
}

struct Extents {
  double width, height;
};

Extents extentsOf(PangoLayout* layout) {
  PangoRectangle logical;
  pango_layout_get_pixel_extents(layout, nullptr, &logical);
  return Extents{static_cast<double>(logical.width), static_cast<double>(logical.height)};
}

void showLayout(HDC dc, PangoLayout* layout, double x, double y, double w, double h) {
  cairo_t* cr = dc->cr;
  dcDeviceMatrix(dc);
  if (dc->st.bkMode == OPAQUE) {
    setSource(cr, dc->st.bkColor);
    cairo_rectangle(cr, x, y, w, h);
    cairo_fill(cr);
  }
  setSource(cr, dc->st.textColor);
  cairo_move_to(cr, x, y);
  pango_cairo_show_layout(cr, layout);
  cairo_new_path(cr);
}

}  // namespace

namespace kvui::detail {

PangoContext* pangoContext() {
  static PangoContext* ctx = [] {
    PangoFontMap* fm = pango_cairo_font_map_new_for_font_type(CAIRO_FONT_TYPE_FT);
    pango_fc_font_map_set_config(PANGO_FC_FONT_MAP(fm), pinnedConfig());
    pango_cairo_font_map_set_resolution(PANGO_CAIRO_FONT_MAP(fm), 96.0);
    PangoContext* c = pango_font_map_create_context(fm);
    g_object_unref(fm);
    cairo_font_options_t* fo = cairo_font_options_create();
    cairo_font_options_set_antialias(fo, CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(fo, CAIRO_HINT_STYLE_SLIGHT);
    cairo_font_options_set_hint_metrics(fo, CAIRO_HINT_METRICS_ON);
    pango_cairo_context_set_font_options(c, fo);
    cairo_font_options_destroy(fo);
    return c;
  }();
  return ctx;
}

std::string mapFace(const wchar_t* face) {
  std::wstring f = face ? face : L"";
  for (auto& c : f) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
  static const wchar_t* mono[] = {L"courier", L"courier new", L"consolas", L"lucida console", L"fixedsys", L"terminal", L"dejavu sans mono"};
  for (const wchar_t* m : mono)
    if (f == m) return "DejaVu Sans Mono";
  return "DejaVu Sans";
}

double emPixels(LONG lfHeight) {
  if (lfHeight < 0) return -static_cast<double>(lfHeight);
  if (lfHeight > 0) return lfHeight / 1.164;  // DejaVu Sans: ascent + descent = 1.164 em
  return 11.0;
}

PangoFontDescription* describeFont(const LOGFONT& lf, double px) {
  PangoFontDescription* d = pango_font_description_new();
  pango_font_description_set_family(d, mapFace(lf.lfFaceName).c_str());
  pango_font_description_set_weight(d, lf.lfWeight >= FW_SEMIBOLD ? PANGO_WEIGHT_BOLD : PANGO_WEIGHT_NORMAL);
  pango_font_description_set_style(d, lf.lfItalic ? PANGO_STYLE_OBLIQUE : PANGO_STYLE_NORMAL);
  pango_font_description_set_absolute_size(d, std::max(1.0, px) * PANGO_SCALE);
  return d;
}

LOGFONT defaultGuiFont() {
  LOGFONT lf{};
  lf.lfHeight = -11;
  lf.lfWeight = FW_NORMAL;
  lf.lfCharSet = DEFAULT_CHARSET;
  std::wcscpy(lf.lfFaceName, L"MS Shell Dlg");
  return lf;
}

LOGFONT messageFont() {
  LOGFONT lf = defaultGuiFont();
  std::wcscpy(lf.lfFaceName, L"Tahoma");
  return lf;
}

int drawTextImpl(HDC dc, const std::wstring& in, RECT* r, UINT fmt) {
  if (!r) return 0;
  int underlineAt = -1;
  std::wstring text = (fmt & DT_NOPREFIX) ? in : stripPrefix(in, underlineAt);
  if (fmt & DT_SINGLELINE)
    for (auto& c : text)
      if (c == L'\r' || c == L'\n') c = L' ';
  double sx = std::fabs(dcScaleX(dc)), sy = std::fabs(dcScaleY(dc));
  PangoLayout* layout = newLayout(currentFont(dc), fontPixels(dc), text, underlineAt);
  double l = r->left, t = r->top, rt = r->right, b = r->bottom;
  dcToDevice(dc, l, t);
  dcToDevice(dc, rt, b);
  if (l > rt) std::swap(l, rt);
  if (t > b) std::swap(t, b);
  double width = rt - l, height = b - t;
  bool calc = (fmt & DT_CALCRECT) != 0;
  bool wrap = !(fmt & DT_SINGLELINE) && (fmt & DT_WORDBREAK);
  bool ellipsis = !calc && (fmt & (DT_END_ELLIPSIS | DT_WORD_ELLIPSIS | DT_PATH_ELLIPSIS)) && !wrap;
  bool widthSet = wrap || ellipsis;
  if (widthSet) {
    pango_layout_set_width(layout, static_cast<int>(std::max(0.0, width) * PANGO_SCALE));
    pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
    if (wrap) pango_layout_set_wrap(layout, PANGO_WRAP_WORD);
    if (ellipsis) pango_layout_set_ellipsize(layout, (fmt & DT_PATH_ELLIPSIS) ? PANGO_ELLIPSIZE_MIDDLE : PANGO_ELLIPSIZE_END);
  }
  PangoAlignment align = (fmt & DT_CENTER) ? PANGO_ALIGN_CENTER : (fmt & DT_RIGHT) ? PANGO_ALIGN_RIGHT : PANGO_ALIGN_LEFT;
  pango_layout_set_alignment(layout, align);
  Extents e = extentsOf(layout);
  int heightLogical = static_cast<int>(std::lround(e.height / (sy == 0 ? 1 : sy)));
  if (calc) {
    PangoRectangle ink, logical;
    pango_layout_get_pixel_extents(layout, &ink, &logical);
    double w = wrap ? std::max(width, static_cast<double>(logical.x + logical.width)) : e.width;
    r->right = r->left + static_cast<LONG>(std::lround(w / (sx == 0 ? 1 : sx)));
    r->bottom = r->top + heightLogical;
    g_object_unref(layout);
    return heightLogical;
  }
  double x = l, y = t;
  if (!widthSet) {
    if (fmt & DT_CENTER) x = l + std::floor((width - e.width) / 2);
    else if (fmt & DT_RIGHT) x = rt - e.width;
  }
  if (fmt & DT_SINGLELINE) {
    if (fmt & DT_VCENTER) y = t + std::floor((height - e.height) / 2);
    else if (fmt & DT_BOTTOM) y = b - e.height;
  }
  cairo_save(dc->cr);
  if (!(fmt & DT_NOCLIP)) {
    dcDeviceMatrix(dc);
    cairo_rectangle(dc->cr, l, t, width, height);
    cairo_clip(dc->cr);
  }
  double boxW = widthSet ? width : e.width;
  showLayout(dc, layout, std::floor(x), std::floor(y), boxW, e.height);
  cairo_restore(dc->cr);
  g_object_unref(layout);
  return heightLogical;
}

CSize textExtentImpl(HDC dc, const std::wstring& text) {
  PangoLayout* layout = newLayout(currentFont(dc), fontPixels(dc), text, -1);
  Extents e = extentsOf(layout);
  g_object_unref(layout);
  double sx = std::fabs(dcScaleX(dc)), sy = std::fabs(dcScaleY(dc));
  return CSize(static_cast<int>(std::lround(e.width / (sx == 0 ? 1 : sx))), static_cast<int>(std::lround(e.height / (sy == 0 ? 1 : sy))));
}

void textMetricsImpl(HDC dc, TEXTMETRIC* tm) {
  HFONT__* f = asFont(currentFont(dc));
  LOGFONT lf = f ? f->lf : defaultGuiFont();
  double px = fontPixels(dc);
  PangoFontDescription* desc = describeFont(lf, px);
  PangoFontMetrics* m = pango_context_get_metrics(pangoContext(), desc, nullptr);
  double sy = std::fabs(dcScaleY(dc));
  sy = sy == 0 ? 1 : sy;
  *tm = TEXTMETRIC{};
  tm->tmAscent = static_cast<LONG>(std::lround(PANGO_PIXELS(pango_font_metrics_get_ascent(m)) / sy));
  tm->tmDescent = static_cast<LONG>(std::lround(PANGO_PIXELS(pango_font_metrics_get_descent(m)) / sy));
  tm->tmHeight = tm->tmAscent + tm->tmDescent;
  tm->tmInternalLeading = std::max<LONG>(0, tm->tmHeight - static_cast<LONG>(std::lround(px / sy)));
  tm->tmAveCharWidth = static_cast<LONG>(std::lround(PANGO_PIXELS(pango_font_metrics_get_approximate_char_width(m)) / sy));
  tm->tmMaxCharWidth = textExtentImpl(dc, L"W").cx;
  tm->tmWeight = lf.lfWeight ? lf.lfWeight : FW_NORMAL;
  tm->tmItalic = lf.lfItalic;
  tm->tmUnderlined = lf.lfUnderline;
  tm->tmStruckOut = lf.lfStrikeOut;
  tm->tmFirstChar = L' ';
  tm->tmLastChar = 0xFFFF;
  tm->tmDefaultChar = L'?';
  tm->tmBreakChar = L' ';
  tm->tmPitchAndFamily = mapFace(lf.lfFaceName) == "DejaVu Sans Mono" ? FF_MODERN : (FF_SWISS | 0x2);
  tm->tmDigitizedAspectX = tm->tmDigitizedAspectY = dc->dpi;
  pango_font_metrics_unref(m);
  pango_font_description_free(desc);
}

// Windows derives dialog units from the dialog font: the average width of the 52 letters and
// the character height.
CSize dialogBaseUnits(const wchar_t* face, int pointSize) {
  static std::map<std::pair<std::wstring, int>, CSize> cache;
  auto key = std::make_pair(std::wstring(face ? face : L""), pointSize);
  auto it = cache.find(key);
  if (it != cache.end()) return it->second;
  LOGFONT lf = defaultGuiFont();
  lf.lfHeight = -((pointSize * 96 + 36) / 72);
  std::wcsncpy(lf.lfFaceName, face ? face : L"MS Shell Dlg", LF_FACESIZE - 1);
  HDC dc = CreateCompatibleDC(nullptr);
  HFONT font = CreateFontIndirect(&lf);
  HGDIOBJ old = SelectObject(dc, font);
  CSize letters = textExtentImpl(dc, L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
  TEXTMETRIC tm;
  textMetricsImpl(dc, &tm);
  SelectObject(dc, old);
  DeleteObject(font);
  DeleteDC(dc);
  CSize units((letters.cx / 26 + 1) / 2, tm.tmHeight);
  cache[key] = units;
  return units;
}

}  // namespace kvui::detail

namespace kvui {
CSize DialogBaseUnits(LPCTSTR face, WORD pointSize) { return kvui::detail::dialogBaseUnits(face, pointSize); }
}  // namespace kvui

int DrawText(HDC dc, LPCTSTR text, int count, LPRECT r, UINT format) {
  if (!isDc(dc) || !text) return 0;
  std::wstring s = count < 0 ? std::wstring(text) : std::wstring(text, static_cast<std::size_t>(count));
  return drawTextImpl(dc, s, r, format);
}

BOOL GetTextExtentPoint32(HDC dc, LPCTSTR text, int count, SIZE* out) {
  if (!isDc(dc) || !text || !out) return FALSE;
  *out = textExtentImpl(dc, std::wstring(text, static_cast<std::size_t>(std::max(count, 0))));
  return TRUE;
}

int SetBkMode(HDC dc, int mode) { return CDC::FromHandle(dc) ? CDC::FromHandle(dc)->SetBkMode(mode) : 0; }

int CDC::DrawText(const CString& text, LPRECT r, UINT format) {
  return isDc(m_hDC) ? drawTextImpl(m_hDC, text.str(), r, format) : 0;
}
int CDC::DrawText(LPCTSTR text, int count, LPRECT r, UINT format) { return ::DrawText(m_hDC, text, count, r, format); }

BOOL CDC::TextOut(int x, int y, const CString& text) { return TextOut(x, y, text, text.GetLength()); }

BOOL CDC::TextOut(int x, int y, LPCTSTR text, int count) {
  if (!isDc(m_hDC) || !text) return FALSE;
  std::wstring s(text, static_cast<std::size_t>(std::max(count, 0)));
  PangoLayout* layout = newLayout(currentFont(m_hDC), fontPixels(m_hDC), s, -1);
  Extents e = extentsOf(layout);
  double dx = x, dy = y;
  dcToDevice(m_hDC, dx, dy);
  UINT a = m_hDC->st.textAlign;
  if ((a & TA_CENTER) == TA_CENTER) dx -= std::floor(e.width / 2);
  else if (a & TA_RIGHT) dx -= e.width;
  if ((a & TA_BASELINE) == TA_BASELINE) dy -= PANGO_PIXELS(pango_layout_get_baseline(layout));
  else if (a & TA_BOTTOM) dy -= e.height;
  showLayout(m_hDC, layout, std::floor(dx), std::floor(dy), e.width, e.height);
  g_object_unref(layout);
  return TRUE;
}

BOOL CDC::ExtTextOut(int x, int y, UINT options, LPCRECT r, const CString& text, LPINT) {
  if (!isDc(m_hDC)) return FALSE;
  if ((options & ETO_OPAQUE) && r) {
    COLORREF keep = m_hDC->st.bkColor;
    FillSolidRect(r, keep);
  }
  if ((options & ETO_CLIPPED) && r) {
    int saved = SaveDC();
    IntersectClipRect(r);
    TextOut(x, y, text);
    RestoreDC(saved);
    return TRUE;
  }
  return TextOut(x, y, text);
}

CSize CDC::GetTextExtent(const CString& text) const { return isDc(m_hDC) ? textExtentImpl(m_hDC, text.str()) : CSize(); }
CSize CDC::GetTextExtent(LPCTSTR text, int count) const {
  if (!isDc(m_hDC) || !text) return CSize();
  return textExtentImpl(m_hDC, count < 0 ? std::wstring(text) : std::wstring(text, static_cast<std::size_t>(count)));
}
BOOL CDC::GetTextMetrics(TEXTMETRIC* tm) const {
  if (!isDc(m_hDC) || !tm) return FALSE;
  textMetricsImpl(m_hDC, tm);
  return TRUE;
}
int CDC::GetTextFace(int count, LPTSTR face) const {
  if (!isDc(m_hDC) || !face || count <= 0) return 0;
  HFONT__* f = asFont(currentFont(m_hDC));
  std::wstring name = f ? f->lf.lfFaceName : L"MS Shell Dlg";
  name = name.substr(0, static_cast<std::size_t>(count - 1));
  std::wcscpy(face, name.c_str());
  return static_cast<int>(name.size());
}
