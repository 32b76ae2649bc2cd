// Carrier wavelengths and number ranges of the satellite systems.
#ifndef RTK_SATELLITES_H
#define RTK_SATELLITES_H

inline constexpr double kLightSpeed = 299792458.0;   // m/s

// Wavelengths (m) of the carriers listed with the observation codes in RINEX 3.04.
inline constexpr double kWavelenL1 = 0.19029367279836487;   // GPS, QZSS, SBAS L1; Galileo E1; BeiDou B1C
inline constexpr double kWavelenL2 = 0.24421021342456825;   // GPS, QZSS L2
inline constexpr double kWavelenL5 = 0.25482804879085386;   // GPS, QZSS, SBAS L5; Galileo E5a; BeiDou B2a
inline constexpr double kWavelenE5b = 0.2483493695843067;   // Galileo E5b; BeiDou B2
inline constexpr double kWavelenE5 = 0.251547000952345;     // Galileo E5 (a+b)
inline constexpr double kWavelenE6 = 0.23444180488758554;   // Galileo E6
inline constexpr double kWavelenB1 = 0.19203948631027648;   // BeiDou B1
inline constexpr double kWavelenB3 = 0.2363324646044209;    // BeiDou B3

// First satellite numbers of the systems.
inline constexpr int kFirstGps = 1;
inline constexpr int kFirstBds = 33;
inline constexpr int kFirstGlo = 79;
inline constexpr int kFirstGal = 103;
inline constexpr int kFirstQzs = 139;
inline constexpr int kFirstSbs = 146;

#endif
