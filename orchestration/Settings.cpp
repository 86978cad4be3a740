#include <orvel/DatabaseMgr.h>
#include <orvel/Settings.h>

#include <stdexcept>

#include "base/DeviceRoot.h"
#include "base/Limits.h"
#include "base/Log.h"
#include "base/WorkPriority.h"
#include "tags/TagReading.h"
#include "text/TextRegion.h"

namespace orvel {

namespace {

void configureLog(const Settings& settings) {
  if (settings.dltApplicationId.empty()) {
    setLogSink(settings.logSink, settings.logSinkUser);
  } else if (!logToDlt(settings.dltApplicationId.c_str())) {
    throw std::runtime_error(
        "cannot log to Diagnostic Log and Trace: the library was built without it; build it with"
        " -DORVEL_WITH_DLT=ON or leave Settings::dltApplicationId empty");
  }
  setLogThreshold(settings.logThreshold);
  ovPrettyFunction = settings.logFullSignatures;
}

}  // namespace

void configure(const Settings& settings) {
  configureLog(settings);
  DatabaseMgr::instance().setDirectory(
      settings.databaseDirectory.empty() ? ORVEL_DATABASE_DIRECTORY : settings.databaseDirectory);
  setTagReading(settings.tagReading, settings.tagReaderProgram, settings.tagReaders);
  setWorkPriority(settings.workPriority);
  setTextRegion(settings.textRegion);
  setLimits(settings.limits);
  DeviceRoot::allowOtherFileSystems(settings.acrossDevices);
}

}  // namespace orvel
