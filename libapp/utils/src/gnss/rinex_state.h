// The observation writer's process-wide state, reset by Initial_Rnx().
#ifndef RTK_RINEX_STATE_H
#define RTK_RINEX_STATE_H

#include <cstdint>

extern double dinterval[11];             // samples of epoch-to-epoch differences (s)
extern double firse_sec;                 // second of the minute of the first epoch written
extern std::int32_t g_marktimecount;     // number of the next manual event mark
extern std::int32_t nfirstCount;         // records seen while the interval is unknown
extern std::int32_t beRewrite;           // 0: the header must be written again
extern const char* const glo_codes[4];   // signals of the GLONASS code-phase biases

#endif
