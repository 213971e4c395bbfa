// Boost.Asio is compiled here, once, for the whole program.
#include <boost/asio/impl/src.hpp>
