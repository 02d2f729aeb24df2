// A stand-in module for the host program's tests: reports each message it receives and defines
// one LISP function that echoes its argument through acutPrintf.
#include "ads.h"
#include "rxdefs.h"

namespace {

// (test-mod-echo "text"): prints the text and returns it.
int echo() {
  resbuf* args = acedGetArgs();
  if (!args || args->restype != RTSTR) {
    acutRelRb(args);
    return RSERR;
  }
  acutPrintf(L"%s", args->resval.rstring);
  acedRetStr(args->resval.rstring);
  acutRelRb(args);
  return RSRSLT;
}

}  // namespace

extern "C" AcRx::AppRetCode acrxEntryPoint(AcRx::AppMsgCode msg, void*) {
  switch (msg) {
    case AcRx::kInitAppMsg: acutPrintf(L"[init]"); break;
    case AcRx::kLoadDwgMsg:
      acutPrintf(L"[load]");
      acedDefun(L"test-mod-echo", 0);
      acedRegFunc(echo, 0);
      break;
    case AcRx::kUnloadAppMsg: acutPrintf(L"[unload]"); break;
    default: break;
  }
  return AcRx::kRetOK;
}

extern "C" void* acrxGetApiVersion() { return nullptr; }
