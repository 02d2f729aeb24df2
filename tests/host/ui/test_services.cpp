// System services: message boxes and file dialogs answered from the queue, the registry file,
// the clipboard, ShellExecute records, and printing to PDF.
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "ads.h"
#include "ui_fixture.h"

// Boxes are shown through the console, in their place among acutPrintf's lines, so a console
// sink sees them and nothing goes to standard output behind its back.
TEST_F(UiTest, MessageBoxesPrintAndTakeTheirAnswerOrTheirCancelLikeDefault) {
  std::string out;
  kvads::setConsoleSink([&](std::string_view s) { out += s; });
  queue("answer yes\nanswer retry");
  EXPECT_EQ(MessageBox(nullptr, L"Save changes?", L"Kelvane", MB_YESNO), IDYES);
  EXPECT_EQ(MessageBox(nullptr, L"Not a retry box", L"Kelvane", MB_YESNO), IDNO) << "an answer it has no button for";
  EXPECT_EQ(MessageBox(nullptr, L"Done", L"Kelvane", MB_OK), IDOK);
  EXPECT_EQ(MessageBox(nullptr, L"Go on?", L"Kelvane", MB_OKCANCEL), IDCANCEL);
  acutPrintf(L"\nHalf a line");
  EXPECT_EQ(MessageBox(nullptr, L"Failed", L"Kelvane", MB_ABORTRETRYIGNORE), IDABORT);
  EXPECT_EQ(out.substr(0, 24), "[Kelvane] Save changes?\n");
  EXPECT_NE(out.find("\nHalf a line\n[Kelvane] Failed\n"), std::string::npos) << out;
  queue("click 1,1");
  EXPECT_EQ(MessageBox(nullptr, L"x", L"t", MB_YESNO), IDNO);
  kvads::setConsoleSink(nullptr);
  EXPECT_EQ(kvinput::InputQueue::instance().size(), 1u) << "other events stay for whoever comes next";
}

TEST_F(UiTest, RegistryValuesLiveInTheUsersConfigFolder) {
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyEx(HKEY_CURRENT_USER, L"Software\\Kelvane Software\\HVAC", 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
  DWORD disposition = 0;
  ASSERT_EQ(RegCreateKeyEx(HKEY_CURRENT_USER, L"Software\\Kelvane Software\\HVAC", 0, nullptr, 0, KEY_WRITE, nullptr, &key, &disposition), ERROR_SUCCESS);
  EXPECT_EQ(disposition, static_cast<DWORD>(REG_CREATED_NEW_KEY));
  const wchar_t value[] = L"0";
  ASSERT_EQ(RegSetValueEx(key, L"bCalloutFirst", 0, REG_SZ, reinterpret_cast<const BYTE*>(value), sizeof(value)), ERROR_SUCCESS);
  RegCloseKey(key);
  EXPECT_TRUE(std::filesystem::exists(tempDir + "/kvhvac/registry.txt"));
  ASSERT_EQ(RegOpenKeyEx(HKEY_CURRENT_USER, L"software\\kelvane software\\hvac", 0, KEY_READ, &key), ERROR_SUCCESS);
  DWORD type = 0, size = 0;
  EXPECT_EQ(RegQueryValueEx(key, L"BCALLOUTFIRST", nullptr, &type, nullptr, &size), ERROR_SUCCESS);
  EXPECT_EQ(size, sizeof(value));
  wchar_t small[1];
  DWORD smallSize = sizeof(small);
  EXPECT_EQ(RegQueryValueEx(key, L"bCalloutFirst", nullptr, &type, reinterpret_cast<LPBYTE>(small), &smallSize), ERROR_MORE_DATA);
  wchar_t buf[8] = {};
  size = sizeof(buf);
  EXPECT_EQ(RegQueryValueEx(key, L"bCalloutFirst", nullptr, &type, reinterpret_cast<LPBYTE>(buf), &size), ERROR_SUCCESS);
  EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
  EXPECT_STREQ(buf, L"0");
  EXPECT_EQ(RegSetValueEx(key, L"x", 0, REG_SZ, nullptr, 0), ERROR_ACCESS_DENIED) << "opened for reading";
  RegCloseKey(key);
  EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
  EXPECT_EQ(RegCreateKeyEx(HKEY_LOCAL_MACHINE, L"Software", 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr), ERROR_ACCESS_DENIED);
}

TEST_F(UiTest, ClipboardHoldsTextWithinTheProcess) {
  ASSERT_TRUE(OpenClipboard(nullptr));
  EXPECT_FALSE(OpenClipboard(nullptr)) << "one opener at a time";
  EmptyClipboard();
  HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, 4 * sizeof(wchar_t));
  std::wcscpy(static_cast<wchar_t*>(GlobalLock(h)), L"abc");
  GlobalUnlock(h);
  SetClipboardData(CF_UNICODETEXT, h);
  CloseClipboard();
  EXPECT_TRUE(IsClipboardFormatAvailable(CF_UNICODETEXT));
  ASSERT_TRUE(OpenClipboard(nullptr));
  EXPECT_STREQ(static_cast<const wchar_t*>(GlobalLock(GetClipboardData(CF_UNICODETEXT))), L"abc");
  EXPECT_EQ(GetClipboardData(CF_TEXT), nullptr);
  CloseClipboard();
}

TEST_F(UiTest, FileDialogAndShellExecuteAnswerFromTheQueueAndTheRecord) {
  std::string existing = tempDir + "/Diffuser 24.dwg";
  std::ofstream(existing) << "x";
  testing::internal::CaptureStdout();
  queue("file " + tempDir + "/missing.dwg\nfile " + tempDir + "/Diffuser 24\nfile cancel");
  CFileDialog open(TRUE, L"dwg", nullptr, OFN_HIDEREADONLY | OFN_FILEMUSTEXIST, L"Drawing (*.dwg)|*.dwg||");
  EXPECT_EQ(open.DoModal(), IDOK);
  std::string shown = testing::internal::GetCapturedStdout();
  EXPECT_NE(shown.find("File not found."), std::string::npos);
  EXPECT_EQ(open.GetFileTitle(), CString(L"Diffuser 24"));
  EXPECT_EQ(open.GetFileExt(), CString(L"dwg"));
  CFileDialog again(TRUE);
  EXPECT_EQ(again.DoModal(), IDCANCEL);
  EXPECT_EQ(again.DoModal(), IDCANCEL) << "an empty queue cancels";
  kvui::ClearShellRequests();
  HINSTANCE r = ShellExecute(nullptr, L"OPEN", L"https://example.invalid/support/downloads/KVComponents.exe", nullptr, nullptr, SW_SHOW);
  EXPECT_GT(reinterpret_cast<std::intptr_t>(r), 32);
  ASSERT_EQ(kvui::ShellRequests().size(), 1u);
  EXPECT_EQ(kvui::ShellRequests()[0].operation, CString(L"OPEN"));
}

static int pdfPageCount(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::string pdf((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  auto pages = pdf.find("/Type /Pages");
  if (pages == std::string::npos) return -1;
  auto count = pdf.find("/Count", pages);
  return count == std::string::npos ? -1 : std::atoi(pdf.c_str() + count + 6);
}

TEST_F(UiTest, PrintingTwoPagesGivesATwoPagePdf) {
  std::string path = tempDir + "/grid.pdf";
  queue("print " + path);
  CPrintDialog dlg(FALSE, PD_ALLPAGES | PD_USEDEVMODECOPIES | PD_NOPAGENUMS | PD_HIDEPRINTTOFILE | PD_NOSELECTION);
  ASSERT_EQ(dlg.DoModal(), IDOK);
  CDC dc;
  ASSERT_TRUE(dc.Attach(dlg.GetPrinterDC()));
  EXPECT_TRUE(dc.IsPrinting());
  EXPECT_EQ(dc.GetDeviceCaps(LOGPIXELSY), 300);
  ASSERT_GT(dc.StartDoc(L"Load Detail"), 0);
  for (int page = 1; page <= 2; ++page) {
    dc.StartPage();
    CString text;
    text.Format(L"Page %d of %d", page, 2);
    dc.TextOut(300, 300, text);
    dc.MoveTo(300, 400);
    dc.LineTo(2000, 400);
    EXPECT_GT(dc.EndPage(), 0);
  }
  EXPECT_GT(dc.EndDoc(), 0);
  dc.DeleteDC();
  EXPECT_EQ(pdfPageCount(path), 2);
  std::string cmd = "pdfinfo '" + path + "' 2>/dev/null | grep -q '^Pages: *2$'";
  if (std::system("command -v pdfinfo >/dev/null 2>&1") == 0) {
    EXPECT_EQ(std::system(cmd.c_str()), 0);
  }
  queue("print cancel");
  CPrintDialog cancelled(FALSE);
  EXPECT_EQ(cancelled.DoModal(), IDCANCEL);
  EXPECT_EQ(cancelled.GetPrinterDC(), nullptr);
}
