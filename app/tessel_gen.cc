#include "app/tessel_gen.h"

const char kTesselVersion[] = "0.1 ()";

TesselGen::TesselGen(const std::string& product, const std::string& cross,
                     const std::string& compiler, const std::string& exe,
                     const std::string& obj, const std::string& def,
                     const std::string& ext, const std::string& order,
                     Shell& runner, MicrosClock clock)
    : log("TesselGen_", true, std::move(clock)), shell(&runner) {
  isC = product == "vellc";
  isCross = cross == "ccmp";
  compilerExe = compiler;
  exeFlag = exe;
  objFlag = obj;
  defFlag = def;
  objExt = ext;
  orderStr = order;
  DefinePrefix = isC ? "-d " : "-sd ";

  log.info(std::string("TesselPersonGen v") + kTesselVersion);
  // The false form carries no "[1] " prefix; the asymmetry is kept.
  log.info(isC ? "[1] VellC=true" : "VellC=false");
  log.info(isCross ? "[2] Cross Compiling=true" : "[2] Cross Compiling=false");
  log.info("[3] Compiler EXE=" + compilerExe);
  log.info("[4] Compiler EXE Flag=" + exeFlag);
  log.info("[5] Compiler Compile Flag=" + objFlag);
  log.info("[6] Compiler Define Flag=" + defFlag);
  log.info("[7] Object File Ext=" + objExt);
  log.info("[8] Compiler Order String=" + orderStr);
}
