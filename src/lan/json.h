// picojson with 64-bit integer values. Everything in the project that uses
// picojson includes it through this header, so that all code agrees on the
// layout of picojson::value.
#ifndef ZEPTA_LAN_JSON_H
#define ZEPTA_LAN_JSON_H

#ifndef PICOJSON_USE_INT64
#define PICOJSON_USE_INT64
#endif
#include <picojson.h>

#endif
