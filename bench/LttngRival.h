// Two tracepoints of LTTng-UST, which nothing enables: what a call costs that could be traced.

#undef LTTNG_UST_TRACEPOINT_PROVIDER
#define LTTNG_UST_TRACEPOINT_PROVIDER zevo_bench

#undef LTTNG_UST_TRACEPOINT_INCLUDE
#define LTTNG_UST_TRACEPOINT_INCLUDE "LttngRival.h"

#if !defined(ZEVO_BENCH_LTTNG_RIVAL) || defined(LTTNG_UST_TRACEPOINT_HEADER_MULTI_READ)
#define ZEVO_BENCH_LTTNG_RIVAL

#include <lttng/tracepoint.h>

LTTNG_UST_TRACEPOINT_EVENT(zevo_bench, entry, LTTNG_UST_TP_ARGS(int, step),
                           LTTNG_UST_TP_FIELDS(lttng_ust_field_integer(int, step, step)))
LTTNG_UST_TRACEPOINT_EVENT(zevo_bench, exit, LTTNG_UST_TP_ARGS(int, step),
                           LTTNG_UST_TP_FIELDS(lttng_ust_field_integer(int, step, step)))

#endif

#include <lttng/tracepoint-event.h>
