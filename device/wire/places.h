/// Where the engine, its clients and the web server meet inside the device tree.
#pragma once

namespace varn::wire {

/// Device tree of every program that is not told another one.
inline constexpr char default_root[] = "/tmp/varn-scanner";

inline constexpr char run_dir[] = "/run/varn";
inline constexpr char link_socket[] = "/run/varn/link.sock";       ///< mvtc_* operations
inline constexpr char action_socket[] = "/run/varn/action.sock";   ///< 16-byte action commands
inline constexpr char image_socket[] = "/run/varn/image.sock";     ///< block status records
inline constexpr char control_socket[] = "/run/varn/control.sock"; ///< varnctl: JSON lines
inline constexpr char ring_file[] = "/run/varn/ring.bin";          ///< image blocks, see ring.h
inline constexpr char lock_file[] = "/run/varn/engine.lock";       ///< held by the running engine

inline constexpr char nvram_file[] = "/datafs/nvram.bin";    ///< see nvram.h
inline constexpr char power_file[] = "/datafs/kobnvram.bin"; ///< see nvram.h

/// Pictures on their way into the feeder: varnctl puts them here, the engine takes them away.
inline constexpr char incoming_dir[] = "/var/varn/incoming";

} // namespace varn::wire
