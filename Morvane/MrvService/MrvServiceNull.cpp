#include "MrvService/MrvServiceNull.h"

namespace Mrv
{
const std::string ServiceNull::TYPENAME = "ServiceNull";
const std::string ServiceNull::SERVICE_NAME = "net.morvane.service.null";
}
