#include "framework/Server.h"

namespace orvel {

template class BaseServer<Block<void>>;
template class Server<Block<void>, Block<void>>;

}  // namespace orvel
