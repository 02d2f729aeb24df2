// From a body's status to the text the user sees and the code the host acts on.
#include "bridge.h"

int MapLispStatus(LispStatus status) {
  const ACHAR* text = nullptr;
  switch (status) {
    case LispStatus::TooFewArguments: text = L"\nToo few arguments passed.\n"; break;
    case LispStatus::WrongType: text = L"\nWrong type of arguments passed.\n"; break;
    case LispStatus::BadData: text = L"\nBad data passed .\n"; break;
    case LispStatus::SilentFailure:
      // The body has explained itself; the text screen shows where.
      acedTextScr();
      text = L"";
      break;
    default: return RSRSLT;
  }
  acutPrintf(L"%s", text);
  return RSERR;
}
