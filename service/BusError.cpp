#include "service/BusError.h"

#include "service/BusText.h"

namespace orvel::service {

namespace {

const char* nameOf(const std::exception& reason) {
  const auto* error = dynamic_cast<const BusError*>(&reason);
  switch (error == nullptr ? BusError::Kind::Failed : error->kind) {
    case BusError::Kind::InvalidArguments:
      return "org.orvel.Indexer1.Error.InvalidArguments";
    case BusError::Kind::UnknownDevice:
      return "org.orvel.Indexer1.Error.UnknownDevice";
    case BusError::Kind::NoDatabase:
      return "org.orvel.Indexer1.Error.NoDatabase";
    case BusError::Kind::LimitsExceeded:
      return "org.orvel.Indexer1.Error.LimitsExceeded";
    case BusError::Kind::Failed:
      break;
  }
  return "org.orvel.Indexer1.Error.Failed";
}

}  // namespace

void refuse(GDBusMethodInvocation* call, const std::exception& reason) {
  g_dbus_method_invocation_return_dbus_error(call, nameOf(reason), busText(reason.what()).c_str());
}

gboolean answer(GDBusMethodInvocation* call, const std::function<void()>& work) {
  try {
    work();
  } catch (const std::exception& error) {
    refuse(call, error);
  }
  return TRUE;
}

}  // namespace orvel::service
