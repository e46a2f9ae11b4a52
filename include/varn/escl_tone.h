/// Tone map: from five tone settings to the engine's tone tables.
///
/// Properties are kept between requests. All arithmetic is IEEE double without fused operations,
/// so every processor gives the same entries.
#ifndef VARN_ESCL_TONE_H
#define VARN_ESCL_TONE_H

#include "varn/base.h"

VARN_BEGIN_DECLS

/// Tone properties, with their ranges.
enum varn_tone_property {
    TM_HIGHLIGHT = 100,      /**< 0 to 1, at first 0.7 */
    TM_SHADOW = 101,         /**< 0 to 1, at first 0.1 */
    TM_BRIGHTNESS = 102,     /**< -1 to 1, at first 0 */
    TM_CONTRAST = 103,       /**< -1 to 1, at first 0 */
    TM_GAMMA = 104,          /**< 1 to 4, at first 1 */
    TM_THRESHOLD = 105,      /**< 0 to 1, at first 0.5 */
    TM_CLEARTEXT_SLOPE = 106 /**< 0.4 to 1, at first 1 */
};

/// Tone tables for the engine, 255 entries each: entry k is the input at which the curve leaves
/// level k.
extern VARN_API uint16_t pGammaTarvis_R[255];
extern VARN_API uint16_t pGammaTarvis_G[255];
extern VARN_API uint16_t pGammaTarvis_B[255];
/// Built-in tables of the same form: the scanning software's usual settings (gamma 158, highlight
/// 1733, shadow 39) and the scanner's own default (180, 1490, 94). They were measured on the
/// device and are not what the computation gives.
extern VARN_API const uint16_t GammaTableData_ZQ_Scan_Tone[255];
extern VARN_API const uint16_t GammaTableData_Level_5_Tone[255];
/// Tone settings that the last translation changed; 0 leaves the engine's tables as they are.
extern VARN_API int32_t GammaTableSettingValue;

/// Sets a property, cut to its range. 0; 1 for an unknown id.
VARN_API int32_t c_SetPropDouble(int32_t id, double value);
/// Sets a property from the number of a setting: highlight and shadow in two-thousandths,
/// brightness and contrast 0 to 2000, gamma in hundredths. Other ids are passed over.
VARN_API void c_SetPropLong(int32_t id, int32_t value);
/// A property as a number for the log. Not the inverse of c_SetPropLong, on purpose: gamma is
/// truncated to whole hundreds. `out` is left alone for ids above 104 and unknown ones.
VARN_API void c_GetPropLong(int32_t id, int32_t *out);

/// Computes the curve of the present properties.
/// out_r, out_g, out_b  65536 entries each, of 2 bytes, or of 1 byte when `bytes_per` is 1; the
///                      three become the same and may be one buffer
/// entries              65536; or 256, 1024, 4096 with `bytes_per` 1
/// max_value            only logged
/// returns              0; 1 for other sizes, a null buffer or no memory, with nothing written
VARN_API int32_t c_GetContoneTonemap(void *out_r, void *out_g, void *out_b, int32_t entries,
                                     int32_t bytes_per, int32_t max_value);
/// Inverts a curve of 65536 entries into the engine's form. `n` is not used.
/// returns   0, also for a null table; -1 for a null curve and when the curve falls by more than
///           one level of 256, with the table written as far as it got
VARN_API int32_t TransferGamma2Tarvis(const uint16_t *curve, uint16_t *table, int32_t n);

/// Linear interpolation between (x0, y0) and (x1, y1), held at the ends; y1 when x0 equals x1.
VARN_API double cmap_interp(double x, double x0, double x1, double y0, double y1);
/// `v` of 0 to `vmax` rescaled to `omin` to `omax`, rounded at 0.499; `omax` when `vmax` is 0.
VARN_API int32_t cmap_scale_value(int32_t v, int32_t vmax, int32_t omin, int32_t omax);
/// Maps of the running computation: `which` 0 primary, 1 gamma. A line is drawn with the points
/// outside the map passed over. An index outside the map, or a call when no computation runs, is
/// logged and gives 0 or changes nothing.
VARN_API void cmap_map_line(int32_t which, int32_t x0, int32_t y0, int32_t x1, int32_t y1);
VARN_API int32_t cmap_map_get(int32_t index, int32_t which);
VARN_API void cmap_map_set(int32_t index, int32_t value);

VARN_END_DECLS

#endif
