// The tree-view class: items with text, data, images and states, expansion, caret and drop
// highlight, navigation, hit testing, item rectangles, drag start, scrolling and the TVN_/NM_
// notifications.
#include <algorithm>
#include <cwctype>
#include <functional>
#include <unordered_set>

#include "impl.h"

using namespace kvui::detail;

namespace {

struct Node {
  std::wstring text;
  LPARAM data = 0;
  int image = 0, selectedImage = 0;
  UINT state = 0;
  int children = 0;  // cChildren as given; 1 shows a button before children exist
  Node* parent = nullptr;
  std::vector<Node*> kids;
  // The last measured label width and what it was measured with: every layout pass asks for the
  // width of every visible item, and measuring is far dearer than comparing.
  mutable int width = -1;
  mutable std::wstring widthText;
  mutable HFONT widthFont = nullptr;
  mutable bool widthBold = false;
};

HTREEITEM handleOf(Node* n) { return reinterpret_cast<HTREEITEM>(n); }

class Tree : public Control {
 public:
  ~Tree() override { freeAll(&root_); }

  LRESULT proc(HWND h, UINT msg, WPARAM w, LPARAM l) override {
    switch (msg) {
      case WM_CREATE: itemHeight_ = listItemHeight(h) + 2; return 0;
      case WM_SETFONT: DefWindowProc(h, msg, w, l); itemHeight_ = std::max(itemHeight_, listItemHeight(h) + 2); update(h); return 0;
      case TVM_INSERTITEM: return reinterpret_cast<LRESULT>(insert(h, reinterpret_cast<LPTVINSERTSTRUCT>(l)));
      case TVM_DELETEITEM: return remove(h, reinterpret_cast<HTREEITEM>(l));
      case TVM_EXPAND: return expand(h, node(reinterpret_cast<HTREEITEM>(l)), static_cast<UINT>(w), false);
      case TVM_GETITEMRECT: return itemRect(h, reinterpret_cast<RECT*>(l), w != 0);
      case TVM_GETCOUNT: return static_cast<LRESULT>(live_.size());
      case TVM_GETINDENT: return indent_;
      case TVM_SETINDENT: indent_ = std::max(5, static_cast<int>(w)); update(h); return 0;
      case TVM_GETIMAGELIST: return reinterpret_cast<LRESULT>(w == TVSIL_STATE ? stateImages_ : images_);
      case TVM_SETIMAGELIST: {
        HIMAGELIST& slot = w == TVSIL_STATE ? stateImages_ : images_;
        HIMAGELIST old = slot;
        slot = reinterpret_cast<HIMAGELIST>(l);
        int cx = 0, cy = 0;
        if (images_ && ImageList_GetIconSize(images_, &cx, &cy)) itemHeight_ = std::max(itemHeight_, cy + 1);
        update(h);
        return reinterpret_cast<LRESULT>(old);
      }
      case TVM_GETNEXTITEM: return reinterpret_cast<LRESULT>(next(h, node(reinterpret_cast<HTREEITEM>(l)), static_cast<UINT>(w)));
      case TVM_SELECTITEM: return selectBy(h, static_cast<UINT>(w), reinterpret_cast<HTREEITEM>(l));
      case TVM_GETVISIBLECOUNT: return visibleCount(h);
      case TVM_HITTEST: {
        auto* info = reinterpret_cast<TVHITTESTINFO*>(l);
        if (!info) return 0;
        info->hItem = hitTest(h, info->pt, &info->flags);
        return reinterpret_cast<LRESULT>(info->hItem);
      }
      case TVM_ENSUREVISIBLE: return ensureVisible(h, node(reinterpret_cast<HTREEITEM>(l)));
      case TVM_SETITEMHEIGHT: {
        int old = itemHeight_;
        itemHeight_ = static_cast<int>(static_cast<short>(w)) > 0 ? static_cast<int>(w) : listItemHeight(h) + 2;
        update(h);
        return old;
      }
      case TVM_GETITEMHEIGHT: return itemHeight_;
      case TVM_GETITEMSTATE: {
        Node* n = node(reinterpret_cast<HTREEITEM>(w));
        return n ? (n->state & static_cast<UINT>(l)) : 0;
      }
      case TVM_GETITEM: return getItem(reinterpret_cast<TVITEM*>(l));
      case TVM_SETITEM: return setItem(h, reinterpret_cast<TVITEM*>(l));
      case TVM_CREATEDRAGIMAGE: return reinterpret_cast<LRESULT>(dragImage(h, node(reinterpret_cast<HTREEITEM>(l))));
      case WM_LBUTTONDOWN: onDown(h, CPoint(l)); return 0;
      case WM_LBUTTONUP: onUp(h, CPoint(l)); return 0;
      case WM_LBUTTONDBLCLK: onDouble(h, CPoint(l)); return 0;
      case WM_RBUTTONUP: simpleNotify(h, NM_RCLICK); return 0;
      case WM_KEYDOWN: onKey(h, static_cast<int>(w)); return 0;
      case WM_CHAR: typeAhead(h, static_cast<wchar_t>(w)); return 0;
      case WM_VSCROLL: onScroll(h, true, LOWORD(w), static_cast<short>(HIWORD(w))); return 0;
      case WM_HSCROLL: onScroll(h, false, LOWORD(w), static_cast<short>(HIWORD(w))); return 0;
      case WM_MOUSEWHEEL: scrollTo(h, top_ - 3 * GET_WHEEL_DELTA_WPARAM(w) / WHEEL_DELTA); return 0;
      case WM_SIZE: update(h); return 0;
      case WM_SETFOCUS: InvalidateRect(h, nullptr, TRUE); simpleNotify(h, NM_SETFOCUS); return 0;
      case WM_KILLFOCUS: InvalidateRect(h, nullptr, TRUE); simpleNotify(h, NM_KILLFOCUS); return 0;
      case WM_GETDLGCODE: return DLGC_WANTARROWS | DLGC_WANTCHARS;
      case WM_PAINT: paint(h); return 0;
      case WM_ERASEBKGND: return 1;
      default: return DefWindowProc(h, msg, w, l);
    }
  }

 private:
  // ---- Structure ----
  Node* node(HTREEITEM item) {
    if (item == TVI_ROOT) return &root_;
    auto* n = reinterpret_cast<Node*>(item);
    return live_.count(n) ? n : nullptr;
  }
  bool hasKids(const Node* n) const { return !n->kids.empty() || n->children > 0; }
  bool expanded(const Node* n) const { return n == &root_ || (n->state & TVIS_EXPANDED); }
  int level(const Node* n) const {
    int d = 0;
    for (const Node* p = n->parent; p && p != &root_; p = p->parent) ++d;
    return d;
  }

  void freeAll(Node* n) {
    for (Node* k : n->kids) {
      freeAll(k);
      delete k;
    }
    n->kids.clear();
  }

  std::vector<Node*> visibleItems() const {
    std::vector<Node*> out;
    std::function<void(const Node*)> walk = [&](const Node* n) {
      for (Node* k : n->kids) {
        out.push_back(k);
        if (k->state & TVIS_EXPANDED) walk(k);
      }
    };
    walk(&root_);
    return out;
  }

  HTREEITEM insert(HWND h, LPTVINSERTSTRUCT ins) {
    if (!ins) return nullptr;
    Node* parent = ins->hParent ? node(ins->hParent) : &root_;
    if (!parent) return nullptr;
    auto* n = new Node;
    n->parent = parent;
    applyItem(n, ins->item);
    auto& v = parent->kids;
    HTREEITEM after = ins->hInsertAfter;
    if (after == TVI_FIRST) {
      v.insert(v.begin(), n);
    } else if (after == TVI_SORT) {
      auto it = std::find_if(v.begin(), v.end(), [&](Node* k) { return k->text > n->text; });
      v.insert(it, n);
    } else {
      auto it = std::find(v.begin(), v.end(), reinterpret_cast<Node*>(after));
      v.insert(after == TVI_LAST || it == v.end() ? v.end() : it + 1, n);
    }
    live_.insert(n);
    update(h);
    return handleOf(n);
  }

  void applyItem(Node* n, const TVITEM& it) {
    if ((it.mask & TVIF_TEXT) && it.pszText) n->text = it.pszText;
    if (it.mask & TVIF_IMAGE) n->image = it.iImage;
    if (it.mask & TVIF_SELECTEDIMAGE) n->selectedImage = it.iSelectedImage;
    if (it.mask & TVIF_PARAM) n->data = it.lParam;
    if (it.mask & TVIF_STATE) n->state = (n->state & ~it.stateMask) | (it.state & it.stateMask);
    if (it.mask & TVIF_CHILDREN) n->children = it.cChildren;
  }

  void notifyDelete(HWND h, Node* n) {
    for (Node* k : n->kids) notifyDelete(h, k);
    if (n == &root_) return;
    NMTREEVIEW nm{};
    nm.hdr.code = TVN_DELETEITEM;
    nm.itemOld.hItem = handleOf(n);
    nm.itemOld.lParam = n->data;
    nm.itemOld.mask = TVIF_HANDLE | TVIF_PARAM;
    sendNotify(h, &nm.hdr);
  }

  void forget(Node* n) {
    for (Node* k : n->kids) forget(k);
    if (caret_ == n) caret_ = nullptr;
    if (drop_ == n) drop_ = nullptr;
    if (pending_ == n) pending_ = nullptr;
    live_.erase(n);
  }

  LRESULT remove(HWND h, HTREEITEM item) {
    Node* n = item ? node(item) : &root_;
    if (!n) return FALSE;
    notifyDelete(h, n);
    if (!isLive(h)) return TRUE;
    if (n == &root_) {
      for (Node* k : root_.kids) forget(k);
      freeAll(&root_);
    } else {
      forget(n);
      auto& v = n->parent->kids;
      v.erase(std::remove(v.begin(), v.end(), n), v.end());
      freeAll(n);
      delete n;
    }
    update(h);
    return TRUE;
  }

  Node* next(HWND h, Node* n, UINT code) {
    auto sibling = [](Node* x, int d) -> Node* {
      if (!x || !x->parent) return nullptr;
      auto& v = x->parent->kids;
      auto it = std::find(v.begin(), v.end(), x);
      if (it == v.end()) return nullptr;
      if (d > 0) return it + 1 == v.end() ? nullptr : *(it + 1);
      return it == v.begin() ? nullptr : *(it - 1);
    };
    switch (code) {
      case TVGN_ROOT: return root_.kids.empty() ? nullptr : root_.kids.front();
      case TVGN_NEXT: return sibling(n, 1);
      case TVGN_PREVIOUS: return sibling(n, -1);
      case TVGN_PARENT: return n && n->parent != &root_ ? n->parent : nullptr;
      case TVGN_CHILD: {
        Node* p = n ? n : &root_;
        return p->kids.empty() ? nullptr : p->kids.front();
      }
      case TVGN_CARET: return caret_;
      case TVGN_DROPHILITE: return drop_;
      case TVGN_FIRSTVISIBLE: {
        auto v = visibleItems();
        return top_ < static_cast<int>(v.size()) ? v[static_cast<std::size_t>(top_)] : nullptr;
      }
      case TVGN_NEXTVISIBLE: case TVGN_PREVIOUSVISIBLE: {
        auto v = visibleItems();
        auto it = std::find(v.begin(), v.end(), n);
        if (it == v.end()) return nullptr;
        if (code == TVGN_NEXTVISIBLE) return it + 1 == v.end() ? nullptr : *(it + 1);
        return it == v.begin() ? nullptr : *(it - 1);
      }
      case TVGN_LASTVISIBLE: {
        auto v = visibleItems();
        return v.empty() ? nullptr : v.back();
      }
      default: (void)h; return nullptr;
    }
  }

  // ---- Selection and expansion ----
  void fillItem(TVITEM& it, Node* n) {
    it.mask = TVIF_HANDLE | TVIF_STATE | TVIF_PARAM;
    it.hItem = n ? handleOf(n) : nullptr;
    it.state = n ? n->state : 0;
    it.lParam = n ? n->data : 0;
  }

  bool select(HWND h, Node* n, UINT action) {
    if (n == caret_) return true;
    NMTREEVIEW nm{};
    nm.action = action;
    fillItem(nm.itemOld, caret_);
    fillItem(nm.itemNew, n);
    nm.hdr.code = TVN_SELCHANGING;
    if (sendNotify(h, &nm.hdr)) return false;
    if (!isLive(h)) return false;
    if (caret_ && live_.count(caret_)) caret_->state &= ~TVIS_SELECTED;
    caret_ = n && live_.count(n) ? n : nullptr;
    if (caret_) {
      caret_->state |= TVIS_SELECTED;
      for (Node* p = caret_->parent; p && p != &root_; p = p->parent) p->state |= TVIS_EXPANDED;
      ensureVisible(h, caret_);
    }
    InvalidateRect(h, nullptr, TRUE);
    fillItem(nm.itemNew, caret_);
    nm.hdr.code = TVN_SELCHANGED;
    sendNotify(h, &nm.hdr);
    return true;
  }

  LRESULT selectBy(HWND h, UINT code, HTREEITEM item) {
    Node* n = item ? node(item) : nullptr;
    if (item && !n) return FALSE;
    switch (code) {
      case TVGN_CARET: return select(h, n, TVC_UNKNOWN);
      case TVGN_DROPHILITE:
        if (drop_ && live_.count(drop_)) drop_->state &= ~TVIS_DROPHILITED;
        drop_ = n;
        if (drop_) drop_->state |= TVIS_DROPHILITED;
        InvalidateRect(h, nullptr, TRUE);
        return TRUE;
      case TVGN_FIRSTVISIBLE: {
        auto v = visibleItems();
        auto it = std::find(v.begin(), v.end(), n);
        if (it != v.end()) scrollTo(h, static_cast<int>(it - v.begin()));
        return TRUE;
      }
      default: return FALSE;
    }
  }

  LRESULT expand(HWND h, Node* n, UINT code, bool notify) {
    if (!n || n == &root_) return FALSE;
    UINT op = code & TVE_TOGGLE;
    bool open = op == TVE_EXPAND || (op == TVE_TOGGLE && !(n->state & TVIS_EXPANDED));
    if (open && n->kids.empty() && n->children <= 0) return FALSE;
    if (notify) {
      NMTREEVIEW nm{};
      nm.hdr.code = TVN_ITEMEXPANDING;
      nm.action = open ? TVE_EXPAND : TVE_COLLAPSE;
      fillItem(nm.itemNew, n);
      if (sendNotify(h, &nm.hdr) || !isLive(h) || !live_.count(n)) return FALSE;
    }
    if (open) n->state |= TVIS_EXPANDED | TVIS_EXPANDEDONCE;
    else n->state &= ~TVIS_EXPANDED;
    if (!open && (code & TVE_COLLAPSERESET)) {
      for (Node* k : n->kids) forget(k);
      freeAll(n);
      n->state &= ~TVIS_EXPANDEDONCE;
    }
    if (!open && caret_ && caret_ != n) {
      for (Node* p = caret_->parent; p; p = p->parent)
        if (p == n) { select(h, n, TVC_UNKNOWN); break; }
    }
    update(h);
    if (notify) {
      NMTREEVIEW nm{};
      nm.hdr.code = TVN_ITEMEXPANDED;
      nm.action = open ? TVE_EXPAND : TVE_COLLAPSE;
      fillItem(nm.itemNew, n);
      sendNotify(h, &nm.hdr);
    }
    return TRUE;
  }

  LRESULT ensureVisible(HWND h, Node* n) {
    if (!n || n == &root_) return FALSE;
    for (Node* p = n->parent; p && p != &root_; p = p->parent) p->state |= TVIS_EXPANDED;
    auto v = visibleItems();
    int i = static_cast<int>(std::find(v.begin(), v.end(), n) - v.begin());
    int vis = visibleCount(h);
    if (i < top_) scrollTo(h, i);
    else if (i >= top_ + vis) scrollTo(h, i - vis + 1);
    else update(h);
    return TRUE;
  }

  // ---- Geometry ----
  int visibleCount(HWND h) const {
    CRect c;
    GetClientRect(h, &c);
    return std::max(1, c.Height() / std::max(1, itemHeight_));
  }
  int imageWidth() const {
    int cx = 0, cy = 0;
    return images_ && ImageList_GetIconSize(images_, &cx, &cy) ? cx + 1 : 0;
  }
  int baseX(HWND h, const Node* n) const {
    bool atRoot = (h->style & TVS_LINESATROOT) && (h->style & (TVS_HASLINES | TVS_HASBUTTONS));
    return indent_ * (level(n) + (atRoot ? 1 : 0)) + 3 - hscroll_;
  }
  int textWidth(HWND h, const Node* n) const {
    const bool boldNow = n->state & TVIS_BOLD;
    if (n->width >= 0 && n->widthFont == h->font && n->widthBold == boldNow && n->widthText == n->text) return n->width;
    n->width = measureText(h, n);
    n->widthText = n->text;
    n->widthFont = h->font;
    n->widthBold = boldNow;
    return n->width;
  }
  int measureText(HWND h, const Node* n) const {
    HDC dc = CreateCompatibleDC(nullptr);
    HFONT bold = nullptr;
    if (h->font) SelectObject(dc, h->font);
    if (n->state & TVIS_BOLD) {
      LOGFONT lf = asFont(h->font) ? asFont(h->font)->lf : defaultGuiFont();
      lf.lfWeight = FW_BOLD;
      bold = CreateFontIndirect(&lf);
      SelectObject(dc, bold);
    }
    int w = textExtentImpl(dc, n->text).cx;
    DeleteDC(dc);
    if (bold) DeleteObject(bold);
    return w;
  }
  CRect labelRect(HWND h, const Node* n, int row) const {
    int x = baseX(h, n) + imageWidth();
    int y = (row - top_) * itemHeight_;
    return CRect(x, y, x + textWidth(h, n) + 4, y + itemHeight_);
  }
  int rowOf(const Node* n) const {
    auto v = visibleItems();
    auto it = std::find(v.begin(), v.end(), n);
    return it == v.end() ? -1 : static_cast<int>(it - v.begin());
  }

  LRESULT itemRect(HWND h, RECT* r, bool textOnly) {
    if (!r) return FALSE;
    Node* n = node(*reinterpret_cast<HTREEITEM*>(r));
    if (!n || n == &root_) return FALSE;
    int row = rowOf(n);
    if (row < 0) return FALSE;
    CRect c;
    GetClientRect(h, &c);
    *r = textOnly ? RECT(labelRect(h, n, row)) : RECT{0, (row - top_) * itemHeight_, c.right, (row - top_ + 1) * itemHeight_};
    return TRUE;
  }

  HTREEITEM hitTest(HWND h, POINT p, UINT* flags) {
    UINT f = 0;
    Node* hit = nullptr;
    CRect c;
    GetClientRect(h, &c);
    auto v = visibleItems();
    int row = p.y < 0 ? -1 : top_ + p.y / std::max(1, itemHeight_);
    if (p.y < 0) f = TVHT_ABOVE;
    else if (p.y >= c.bottom) f = TVHT_BELOW;
    else if (p.x < 0) f = TVHT_TOLEFT;
    else if (p.x >= c.right) f = TVHT_TORIGHT;
    else if (row >= static_cast<int>(v.size())) f = TVHT_NOWHERE;
    else {
      hit = v[static_cast<std::size_t>(row)];
      int base = baseX(h, hit);
      CRect label = labelRect(h, hit, row);
      if (p.x < base - indent_) f = TVHT_ONITEMINDENT;
      else if (p.x < base) f = (hasKids(hit) && (h->style & TVS_HASBUTTONS)) ? TVHT_ONITEMBUTTON : TVHT_ONITEMINDENT;
      else if (p.x < base + imageWidth()) f = TVHT_ONITEMICON;
      else if (p.x < label.right) f = TVHT_ONITEMLABEL;
      else f = (h->style & TVS_FULLROWSELECT) ? TVHT_ONITEMLABEL : TVHT_ONITEMRIGHT;
    }
    if (flags) *flags = f;
    return hit ? handleOf(hit) : nullptr;
  }

  // ---- Items ----
  LRESULT getItem(TVITEM* it) {
    if (!it) return FALSE;
    Node* n = node(it->hItem);
    if (!n || n == &root_) return FALSE;
    if ((it->mask & TVIF_TEXT) && it->pszText && it->cchTextMax > 0) {
      std::wstring t = n->text.substr(0, static_cast<std::size_t>(it->cchTextMax - 1));
      std::wcscpy(it->pszText, t.c_str());
    }
    if (it->mask & TVIF_IMAGE) it->iImage = n->image;
    if (it->mask & TVIF_SELECTEDIMAGE) it->iSelectedImage = n->selectedImage;
    if (it->mask & TVIF_PARAM) it->lParam = n->data;
    if (it->mask & TVIF_STATE) it->state = n->state & (it->stateMask ? it->stateMask : 0xFFFFFFFFu);
    if (it->mask & TVIF_CHILDREN) it->cChildren = n->kids.empty() ? (n->children > 0 ? 1 : 0) : 1;
    return TRUE;
  }

  LRESULT setItem(HWND h, TVITEM* it) {
    if (!it) return FALSE;
    Node* n = node(it->hItem);
    if (!n || n == &root_) return FALSE;
    applyItem(n, *it);
    update(h);
    return TRUE;
  }

  // ---- Input ----
  void simpleNotify(HWND h, UINT code) {
    NMHDR hdr{};
    hdr.code = code;
    sendNotify(h, &hdr);
  }

  void onDown(HWND h, CPoint p) {
    SetFocus(h);
    UINT flags = 0;
    Node* n = node(hitTest(h, p, &flags));
    pending_ = nullptr;
    if (!n) return;
    if (flags & TVHT_ONITEMBUTTON) {
      expand(h, n, TVE_TOGGLE, true);
      return;
    }
    if (!(flags & TVHT_ONITEM)) return;
    POINT s = p;
    ClientToScreen(h, &s);
    if (!(h->style & TVS_DISABLEDRAGDROP) && DragDetect(h, s)) {
      NMTREEVIEW nm{};
      nm.hdr.code = TVN_BEGINDRAG;
      nm.action = TVC_BYMOUSE;
      fillItem(nm.itemNew, n);
      nm.ptDrag = p;
      sendNotify(h, &nm.hdr);
      return;
    }
    pending_ = n;
  }

  void onUp(HWND h, CPoint) {
    Node* n = pending_;
    pending_ = nullptr;
    NMHDR hdr{};
    hdr.code = NM_CLICK;
    if (sendNotify(h, &hdr) || !isLive(h)) return;
    if (n && live_.count(n)) select(h, n, TVC_BYMOUSE);
  }

  void onDouble(HWND h, CPoint p) {
    UINT flags = 0;
    Node* n = node(hitTest(h, p, &flags));
    if (n && (flags & TVHT_ONITEMBUTTON)) {
      expand(h, n, TVE_TOGGLE, true);
      return;
    }
    NMHDR hdr{};
    hdr.code = NM_DBLCLK;
    if (sendNotify(h, &hdr) || !isLive(h)) return;
    if (n && (flags & TVHT_ONITEM) && hasKids(n)) expand(h, n, TVE_TOGGLE, true);
  }

  void onKey(HWND h, int vk) {
    NMTVKEYDOWN kd{};
    kd.hdr.code = TVN_KEYDOWN;
    kd.wVKey = static_cast<WORD>(vk);
    sendNotify(h, &kd.hdr);
    if (!isLive(h)) return;
    auto v = visibleItems();
    if (v.empty()) return;
    int row = caret_ ? rowOf(caret_) : -1;
    int last = static_cast<int>(v.size()) - 1;
    auto go = [&](int r) { select(h, v[static_cast<std::size_t>(std::clamp(r, 0, last))], TVC_BYKEYBOARD); };
    switch (vk) {
      case VK_UP: go(row < 0 ? 0 : row - 1); break;
      case VK_DOWN: go(row + 1); break;
      case VK_HOME: go(0); break;
      case VK_END: go(last); break;
      case VK_PRIOR: go(row - visibleCount(h) + 1); break;
      case VK_NEXT: go(row + visibleCount(h) - 1); break;
      case VK_LEFT:
        if (caret_ && (caret_->state & TVIS_EXPANDED) && hasKids(caret_)) expand(h, caret_, TVE_COLLAPSE, true);
        else if (caret_ && caret_->parent != &root_) select(h, caret_->parent, TVC_BYKEYBOARD);
        break;
      case VK_RIGHT:
        if (caret_ && hasKids(caret_) && !(caret_->state & TVIS_EXPANDED)) expand(h, caret_, TVE_EXPAND, true);
        else if (caret_ && !caret_->kids.empty()) select(h, caret_->kids.front(), TVC_BYKEYBOARD);
        break;
      case VK_ADD: if (caret_) expand(h, caret_, TVE_EXPAND, true); break;
      case VK_SUBTRACT: if (caret_) expand(h, caret_, TVE_COLLAPSE, true); break;
      case VK_RETURN: simpleNotify(h, NM_RETURN); break;
      default: break;
    }
  }

  void typeAhead(HWND h, wchar_t c) {
    if (c < 32) return;
    auto v = visibleItems();
    int n = static_cast<int>(v.size());
    int start = caret_ ? rowOf(caret_) : -1;
    wint_t want = std::towlower(static_cast<wint_t>(c));
    for (int k = 1; k <= n; ++k) {
      Node* x = v[static_cast<std::size_t>((start + k + n) % n)];
      if (!x->text.empty() && std::towlower(static_cast<wint_t>(x->text[0])) == want) {
        select(h, x, TVC_BYKEYBOARD);
        return;
      }
    }
  }

  void onScroll(HWND h, bool vertical, UINT code, int pos) {
    if (!vertical) {
      int step = code == SB_LINELEFT ? -10 : code == SB_LINERIGHT ? 10 : code == SB_PAGELEFT ? -50 : code == SB_PAGERIGHT ? 50 : 0;
      hscroll_ = std::max(0, (code == SB_THUMBPOSITION || code == SB_THUMBTRACK) ? pos : hscroll_ + step);
      update(h);
      return;
    }
    int vis = visibleCount(h);
    switch (code) {
      case SB_LINEUP: scrollTo(h, top_ - 1); break;
      case SB_LINEDOWN: scrollTo(h, top_ + 1); break;
      case SB_PAGEUP: scrollTo(h, top_ - vis); break;
      case SB_PAGEDOWN: scrollTo(h, top_ + vis); break;
      case SB_THUMBPOSITION: case SB_THUMBTRACK: scrollTo(h, pos); break;
      default: break;
    }
  }

  void scrollTo(HWND h, int t) {
    int count = static_cast<int>(visibleItems().size());
    top_ = std::clamp(t, 0, std::max(0, count - visibleCount(h)));
    update(h);
  }

  void update(HWND h) {
    if (!(h->style & TVS_NOSCROLL)) {
      auto v = visibleItems();
      int count = static_cast<int>(v.size());
      top_ = std::clamp(top_, 0, std::max(0, count - visibleCount(h)));
      SCROLLINFO si{sizeof(si), SIF_RANGE | SIF_PAGE | SIF_POS, 0, std::max(0, count - 1), static_cast<UINT>(visibleCount(h)), top_, 0};
      SetScrollInfo(h, SB_VERT, &si, FALSE);
      if (!(h->style & TVS_NOHSCROLL)) {
        int widest = 0;
        for (Node* n : v) widest = std::max(widest, baseX(h, n) + hscroll_ + imageWidth() + textWidth(h, n) + 4);
        CRect c;
        GetClientRect(h, &c);
        SCROLLINFO hs{sizeof(hs), SIF_RANGE | SIF_PAGE | SIF_POS, 0, std::max(0, widest - 1), static_cast<UINT>(std::max(1, static_cast<int>(c.Width()))), hscroll_, 0};
        SetScrollInfo(h, SB_HORZ, &hs, FALSE);
        hscroll_ = h->scroll[SB_HORZ].info.nPos;
      }
    }
    InvalidateRect(h, nullptr, TRUE);
  }

  // ---- Pictures ----
  HIMAGELIST dragImage(HWND h, Node* n) {
    if (!n || n == &root_) return nullptr;
    int w = imageWidth() + textWidth(h, n) + 4, hh = itemHeight_;
    HDC dc = CreateCompatibleDC(nullptr);
    HBITMAP bmp = CreateCompatibleBitmap(dc, w, hh);
    HGDIOBJ oldBmp = SelectObject(dc, bmp);
    CDC* c = CDC::FromHandle(dc);
    c->FillSolidRect(0, 0, w, hh, RGB(255, 255, 255));
    if (images_) ImageList_Draw(images_, n->image, dc, 0, 0, ILD_NORMAL);
    if (h->font) SelectObject(dc, h->font);
    c->SetBkMode(TRANSPARENT);
    c->SetTextColor(0);
    CRect tr(imageWidth() + 2, 0, w, hh);
    c->DrawText(CString(n->text.c_str()), &tr, DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX);
    SelectObject(dc, oldBmp);
    DeleteDC(dc);
    HIMAGELIST list = ImageList_Create(w, hh, ILC_MASK | ILC_COLOR32, 1, 1);
    ImageList_AddMasked(list, bmp, RGB(255, 255, 255));
    DeleteObject(bmp);
    return list;
  }

  void paint(HWND h) {
    PAINTSTRUCT ps;
    HDC dc = BeginPaint(h, &ps);
    CDC* c = CDC::FromHandle(dc);
    CRect r;
    GetClientRect(h, &r);
    c->FillSolidRect(&r, GetSysColor(COLOR_WINDOW));
    auto v = visibleItems();
    bool focused = GetFocus() == h;
    HFONT boldFont = nullptr;
    for (int row = top_; row < static_cast<int>(v.size()) && (row - top_) * itemHeight_ < r.bottom; ++row) {
      Node* n = v[static_cast<std::size_t>(row)];
      int y = (row - top_) * itemHeight_;
      int base = baseX(h, n);
      if (h->style & TVS_HASLINES) drawLines(h, c, n, base, y);
      if ((h->style & TVS_HASBUTTONS) && hasKids(n) && (n->parent != &root_ || (h->style & TVS_LINESATROOT))) drawButton(c, n, base - indent_ / 2, y + itemHeight_ / 2);
      if (images_) ImageList_Draw(images_, (n->state & TVIS_SELECTED) ? n->selectedImage : n->image, dc, base, y + (itemHeight_ - 16) / 2, ILD_TRANSPARENT);
      CRect label = labelRect(h, n, row);
      bool hot = (n->state & TVIS_DROPHILITED) || ((n->state & TVIS_SELECTED) && focused && !drop_);
      bool dim = (n->state & TVIS_SELECTED) && !hot && (h->style & TVS_SHOWSELALWAYS) && !drop_;
      if (hot) c->FillSolidRect(&label, GetSysColor(COLOR_HIGHLIGHT));
      else if (dim) c->FillSolidRect(&label, GetSysColor(COLOR_3DFACE));
      c->SetBkMode(TRANSPARENT);
      c->SetTextColor(GetSysColor(hot ? COLOR_HIGHLIGHTTEXT : COLOR_WINDOWTEXT));
      if (n->state & TVIS_BOLD) {
        if (!boldFont) {
          LOGFONT lf = asFont(h->font) ? asFont(h->font)->lf : defaultGuiFont();
          lf.lfWeight = FW_BOLD;
          boldFont = CreateFontIndirect(&lf);
        }
        SelectObject(dc, boldFont);
      } else if (h->font) {
        SelectObject(dc, h->font);
      }
      CRect tr = label;
      tr.left += 2;
      c->DrawText(CString(n->text.c_str()), &tr, DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
      if (focused && n == caret_) DrawFocusRect(dc, &label);
    }
    if (h->font) SelectObject(dc, h->font);
    EndPaint(h, &ps);
    if (boldFont) DeleteObject(boldFont);
  }

  void drawButton(CDC* c, const Node* n, int cx, int cy) {
    CRect box(cx - 4, cy - 4, cx + 5, cy + 5);
    c->FillSolidRect(&box, GetSysColor(COLOR_WINDOW));
    CBrush frame(GetSysColor(COLOR_GRAYTEXT));
    c->FrameRect(&box, &frame);
    c->FillSolidRect(cx - 2, cy, 5, 1, GetSysColor(COLOR_WINDOWTEXT));
    if (!(n->state & TVIS_EXPANDED)) c->FillSolidRect(cx, cy - 2, 1, 5, GetSysColor(COLOR_WINDOWTEXT));
  }

  void drawLines(HWND h, CDC* c, const Node* n, int base, int y) {
    CPen pen(PS_ALTERNATE, 1, GetSysColor(COLOR_GRAYTEXT));
    CGdiObject* old = c->SelectObject(static_cast<CGdiObject*>(&pen));
    int mid = y + itemHeight_ / 2;
    bool topLevel = n->parent == &root_;
    if (!topLevel || (h->style & TVS_LINESATROOT)) {
      int x = base - indent_ / 2;
      c->MoveTo(x, mid);
      c->LineTo(base, mid);
      bool first = n->parent->kids.front() == n && topLevel;
      bool last = n->parent->kids.back() == n;
      c->MoveTo(x, first ? mid : y);
      c->LineTo(x, last ? mid + 1 : y + itemHeight_);
    }
    int x = base - indent_ / 2;
    for (const Node* p = n->parent; p && p != &root_; p = p->parent) {
      x -= indent_;
      if (p->parent->kids.back() != p && (p->parent != &root_ || (h->style & TVS_LINESATROOT))) {
        c->MoveTo(x, y);
        c->LineTo(x, y + itemHeight_);
      }
    }
    c->SelectObject(old);
  }

  Node root_;
  std::unordered_set<Node*> live_;
  Node* caret_ = nullptr;
  Node* drop_ = nullptr;
  Node* pending_ = nullptr;
  int top_ = 0, hscroll_ = 0, indent_ = 19, itemHeight_ = 16;
  HIMAGELIST images_ = nullptr, stateImages_ = nullptr;
};

}  // namespace

namespace kvui::detail {
std::unique_ptr<Control> makeTree() { return std::make_unique<Tree>(); }
}  // namespace kvui::detail

// ---- CTreeCtrl ----------------------------------------------------------------------------------

BOOL CTreeCtrl::Create(DWORD style, const RECT& r, CWnd* parent, UINT id) { return CWnd::Create(L"SysTreeView32", L"", style, r, parent, id); }
HTREEITEM CTreeCtrl::InsertItem(LPTVINSERTSTRUCT insert) { return reinterpret_cast<HTREEITEM>(SendMessage(TVM_INSERTITEM, 0, reinterpret_cast<LPARAM>(insert))); }
HTREEITEM CTreeCtrl::InsertItem(UINT mask, LPCTSTR text, int image, int selectedImage, UINT state, UINT stateMask, LPARAM param,
                                HTREEITEM parent, HTREEITEM after) {
  TVINSERTSTRUCT ins{};
  ins.hParent = parent;
  ins.hInsertAfter = after;
  ins.item.mask = mask;
  ins.item.pszText = const_cast<LPTSTR>(text);
  ins.item.iImage = image;
  ins.item.iSelectedImage = selectedImage;
  ins.item.state = state;
  ins.item.stateMask = stateMask;
  ins.item.lParam = param;
  return InsertItem(&ins);
}
HTREEITEM CTreeCtrl::InsertItem(LPCTSTR text, HTREEITEM parent, HTREEITEM after) {
  return InsertItem(TVIF_TEXT, text, 0, 0, 0, 0, 0, parent, after);
}
HTREEITEM CTreeCtrl::InsertItem(LPCTSTR text, int image, int selectedImage, HTREEITEM parent, HTREEITEM after) {
  return InsertItem(TVIF_TEXT | TVIF_IMAGE | TVIF_SELECTEDIMAGE, text, image, selectedImage, 0, 0, 0, parent, after);
}
BOOL CTreeCtrl::DeleteItem(HTREEITEM item) { return static_cast<BOOL>(SendMessage(TVM_DELETEITEM, 0, reinterpret_cast<LPARAM>(item))); }
BOOL CTreeCtrl::Expand(HTREEITEM item, UINT code) { return static_cast<BOOL>(SendMessage(TVM_EXPAND, code, reinterpret_cast<LPARAM>(item))); }
UINT CTreeCtrl::GetCount() const { return static_cast<UINT>(SendMessage(TVM_GETCOUNT)); }
UINT CTreeCtrl::GetVisibleCount() const { return static_cast<UINT>(SendMessage(TVM_GETVISIBLECOUNT)); }
UINT CTreeCtrl::GetIndent() const { return static_cast<UINT>(SendMessage(TVM_GETINDENT)); }
void CTreeCtrl::SetIndent(UINT indent) { SendMessage(TVM_SETINDENT, indent); }
int CTreeCtrl::GetItemHeight() const { return static_cast<int>(SendMessage(TVM_GETITEMHEIGHT)); }
int CTreeCtrl::SetItemHeight(int height) { return static_cast<int>(SendMessage(TVM_SETITEMHEIGHT, static_cast<WPARAM>(height))); }
CImageList* CTreeCtrl::GetImageList(int which) const {
  return CImageList::FromHandle(reinterpret_cast<HIMAGELIST>(SendMessage(TVM_GETIMAGELIST, static_cast<WPARAM>(which))));
}
CImageList* CTreeCtrl::SetImageList(CImageList* list, int which) {
  return CImageList::FromHandle(reinterpret_cast<HIMAGELIST>(SendMessage(TVM_SETIMAGELIST, static_cast<WPARAM>(which), reinterpret_cast<LPARAM>(list ? list->m_hImageList : nullptr))));
}
HTREEITEM CTreeCtrl::GetNextItem(HTREEITEM item, UINT code) const {
  return reinterpret_cast<HTREEITEM>(SendMessage(TVM_GETNEXTITEM, code, reinterpret_cast<LPARAM>(item)));
}
BOOL CTreeCtrl::ItemHasChildren(HTREEITEM item) const {
  TVITEM it{};
  it.mask = TVIF_CHILDREN | TVIF_HANDLE;
  it.hItem = item;
  return GetItem(&it) && it.cChildren != 0;
}
BOOL CTreeCtrl::GetItem(TVITEM* item) const { return static_cast<BOOL>(SendMessage(TVM_GETITEM, 0, reinterpret_cast<LPARAM>(item))); }
BOOL CTreeCtrl::SetItem(TVITEM* item) { return static_cast<BOOL>(SendMessage(TVM_SETITEM, 0, reinterpret_cast<LPARAM>(item))); }
CString CTreeCtrl::GetItemText(HTREEITEM item) const {
  wchar_t buf[1024] = {};
  TVITEM it{};
  it.mask = TVIF_TEXT | TVIF_HANDLE;
  it.hItem = item;
  it.pszText = buf;
  it.cchTextMax = 1024;
  return GetItem(&it) ? CString(buf) : CString();
}
BOOL CTreeCtrl::SetItemText(HTREEITEM item, LPCTSTR text) {
  TVITEM it{};
  it.mask = TVIF_TEXT | TVIF_HANDLE;
  it.hItem = item;
  it.pszText = const_cast<LPTSTR>(text);
  return SetItem(&it);
}
DWORD_PTR CTreeCtrl::GetItemData(HTREEITEM item) const {
  TVITEM it{};
  it.mask = TVIF_PARAM | TVIF_HANDLE;
  it.hItem = item;
  return GetItem(&it) ? static_cast<DWORD_PTR>(it.lParam) : 0;
}
BOOL CTreeCtrl::SetItemData(HTREEITEM item, DWORD_PTR data) {
  TVITEM it{};
  it.mask = TVIF_PARAM | TVIF_HANDLE;
  it.hItem = item;
  it.lParam = static_cast<LPARAM>(data);
  return SetItem(&it);
}
UINT CTreeCtrl::GetItemState(HTREEITEM item, UINT mask) const {
  return static_cast<UINT>(SendMessage(TVM_GETITEMSTATE, reinterpret_cast<WPARAM>(item), mask));
}
BOOL CTreeCtrl::SetItemState(HTREEITEM item, UINT state, UINT mask) {
  TVITEM it{};
  it.mask = TVIF_STATE | TVIF_HANDLE;
  it.hItem = item;
  it.state = state;
  it.stateMask = mask;
  return SetItem(&it);
}
BOOL CTreeCtrl::GetItemImage(HTREEITEM item, int& image, int& selectedImage) const {
  TVITEM it{};
  it.mask = TVIF_IMAGE | TVIF_SELECTEDIMAGE | TVIF_HANDLE;
  it.hItem = item;
  if (!GetItem(&it)) return FALSE;
  image = it.iImage;
  selectedImage = it.iSelectedImage;
  return TRUE;
}
BOOL CTreeCtrl::SetItemImage(HTREEITEM item, int image, int selectedImage) {
  TVITEM it{};
  it.mask = TVIF_IMAGE | TVIF_SELECTEDIMAGE | TVIF_HANDLE;
  it.hItem = item;
  it.iImage = image;
  it.iSelectedImage = selectedImage;
  return SetItem(&it);
}
BOOL CTreeCtrl::Select(HTREEITEM item, UINT code) { return static_cast<BOOL>(SendMessage(TVM_SELECTITEM, code, reinterpret_cast<LPARAM>(item))); }
HTREEITEM CTreeCtrl::HitTest(CPoint p, UINT* flags) const {
  TVHITTESTINFO info{p, 0, nullptr};
  HTREEITEM h = HitTest(&info);
  if (flags) *flags = info.flags;
  return h;
}
HTREEITEM CTreeCtrl::HitTest(TVHITTESTINFO* info) const { return reinterpret_cast<HTREEITEM>(SendMessage(TVM_HITTEST, 0, reinterpret_cast<LPARAM>(info))); }
BOOL CTreeCtrl::GetItemRect(HTREEITEM item, LPRECT r, BOOL textOnly) const {
  if (!r) return FALSE;
  *reinterpret_cast<HTREEITEM*>(r) = item;
  return static_cast<BOOL>(SendMessage(TVM_GETITEMRECT, textOnly, reinterpret_cast<LPARAM>(r)));
}
BOOL CTreeCtrl::EnsureVisible(HTREEITEM item) { return static_cast<BOOL>(SendMessage(TVM_ENSUREVISIBLE, 0, reinterpret_cast<LPARAM>(item))); }
CImageList* CTreeCtrl::CreateDragImage(HTREEITEM item) {
  auto list = reinterpret_cast<HIMAGELIST>(SendMessage(TVM_CREATEDRAGIMAGE, 0, reinterpret_cast<LPARAM>(item)));
  if (!list) return nullptr;
  auto* result = new CImageList;
  result->Attach(list);
  return result;
}
