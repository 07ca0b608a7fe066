#include "imaging/pixel_format_table.h"

namespace imaging
{

// clang-format off
constexpr PixelFormat s_colorModelDescription[kPixelFormatCount] = {
    {"Mono8", "Y", 1U, 8U, &GetIndexMONO, 0U, 0x01080101U},
    {"Mono10", "Y", 1U, 10U, &GetIndexMONO, 0U, 0x01100202U},
    {"Mono10p", "Y", 1U, 10U, &GetIndexMONO, 0U, 0x010A2203U},
    {"Mono10Packed", "Y", 1U, 10U, &GetIndexMONO, 0U, 0x010C1204U},
    {"Mono10_FLExPacked", "Y", 1U, 10U, &GetIndexMONO, 0U, 0x010C3205U},
    {"Mono12", "Y", 1U, 12U, &GetIndexMONO, 0U, 0x01100306U},
    {"Mono12p", "Y", 1U, 12U, &GetIndexMONO, 0U, 0x010C2307U},
    {"Mono12Packed", "Y", 1U, 12U, &GetIndexMONO, 0U, 0x010C1308U},
    {"Mono12_FLExPacked", "Y", 1U, 12U, &GetIndexMONO, 0U, 0x010C3309U},
    {"Mono14", "Y", 1U, 14U, &GetIndexMONO, 0U, 0x0110040AU},
    {"Mono16", "Y", 1U, 16U, &GetIndexMONO, 0U, 0x0110050BU},
    {"Mono8_FLExPacked", "Y", 1U, 8U, &GetIndexMONO, 0U, 0x0108310CU},
    {"BayerGR8", "G R G2 B", 1U, 8U, &GetIndexMONO, 0U, 0x0308010DU},
    {"BayerRG8", "R G B G2", 1U, 8U, &GetIndexMONO, 0U, 0x0308010EU},
    {"BayerGB8", "G B G2 R", 1U, 8U, &GetIndexMONO, 0U, 0x0308010FU},
    {"BayerBG8", "B G R G2", 1U, 8U, &GetIndexMONO, 0U, 0x03080110U},
    {"BayerGR10", "G R G2 B", 1U, 10U, &GetIndexMONO, 0U, 0x03100211U},
    {"BayerRG10", "R G B G2", 1U, 10U, &GetIndexMONO, 0U, 0x03100212U},
    {"BayerGB10", "G B G2 R", 1U, 10U, &GetIndexMONO, 0U, 0x03100213U},
    {"BayerBG10", "B G R G2", 1U, 10U, &GetIndexMONO, 0U, 0x03100214U},
    {"BayerGR12", "G R G2 B", 1U, 12U, &GetIndexMONO, 0U, 0x03100315U},
    {"BayerRG12", "R G B G2", 1U, 12U, &GetIndexMONO, 0U, 0x03100316U},
    {"BayerGB12", "G B G2 R", 1U, 12U, &GetIndexMONO, 0U, 0x03100317U},
    {"BayerBG12", "B G R G2", 1U, 12U, &GetIndexMONO, 0U, 0x03100318U},
    {"BayerGR10p", "G R G2 B", 1U, 10U, &GetIndexMONO, 0U, 0x030A2219U},
    {"BayerGR10Packed", "G R G2 B", 1U, 10U, &GetIndexMONO, 0U, 0x030C121AU},
    {"BayerRG10p", "R G B G2", 1U, 10U, &GetIndexMONO, 0U, 0x030A221BU},
    {"BayerRG10Packed", "R G B G2", 1U, 10U, &GetIndexMONO, 0U, 0x030C121CU},
    {"BayerGB10p", "G B G2 R", 1U, 10U, &GetIndexMONO, 0U, 0x030A221DU},
    {"BayerGB10Packed", "G B G2 R", 1U, 10U, &GetIndexMONO, 0U, 0x030C121EU},
    {"BayerBG10p", "B G R G2", 1U, 10U, &GetIndexMONO, 0U, 0x030A221FU},
    {"BayerBG10Packed", "B G R G2", 1U, 10U, &GetIndexMONO, 0U, 0x030C1220U},
    {"BayerGR12p", "G R G2 B", 1U, 12U, &GetIndexMONO, 0U, 0x030C2321U},
    {"BayerGR12Packed", "G R G2 B", 1U, 12U, &GetIndexMONO, 0U, 0x030C1322U},
    {"BayerRG12p", "R G B G2", 1U, 12U, &GetIndexMONO, 0U, 0x030C2323U},
    {"BayerRG12Packed", "R G B G2", 1U, 12U, &GetIndexMONO, 0U, 0x030C1324U},
    {"BayerGB12p", "G B G2 R", 1U, 12U, &GetIndexMONO, 0U, 0x030C2325U},
    {"BayerGB12Packed", "G B G2 R", 1U, 12U, &GetIndexMONO, 0U, 0x030C1326U},
    {"BayerBG12p", "B G R G2", 1U, 12U, &GetIndexMONO, 0U, 0x030C2327U},
    {"BayerBG12Packed", "B G R G2", 1U, 12U, &GetIndexMONO, 0U, 0x030C1328U},
    {"BayerGR14", "G R G2 B", 1U, 14U, &GetIndexMONO, 0U, 0x03100429U},
    {"BayerRG14", "R G B G2", 1U, 14U, &GetIndexMONO, 0U, 0x0310042AU},
    {"BayerGB14", "G B G2 R", 1U, 14U, &GetIndexMONO, 0U, 0x0310042BU},
    {"BayerBG14", "B G R G2", 1U, 14U, &GetIndexMONO, 0U, 0x0310042CU},
    {"BayerGR16", "G R G2 B", 1U, 16U, &GetIndexMONO, 0U, 0x0310052DU},
    {"BayerRG16", "R G B G2", 1U, 16U, &GetIndexMONO, 0U, 0x0310052EU},
    {"BayerGB16", "G B G2 R", 1U, 16U, &GetIndexMONO, 0U, 0x0310052FU},
    {"BayerBG16", "B G R G2", 1U, 16U, &GetIndexMONO, 0U, 0x03100530U},
    {"TrueSense_BGGR_WBBW_0_8", "W B W G B W G W W G W R G W R W", 1U, 8U, &GetIndexMONO, 0U, 0x04080131U},
    {"TrueSense_BGGR_WBBW_1_8", "W B W G B W G W W G W R G W R W", 1U, 8U, &GetIndexMONO, 1U, 0x04080132U},
    {"TrueSense_BGGR_WBBW_2_8", "W B W G B W G W W G W R G W R W", 1U, 8U, &GetIndexMONO, 2U, 0x04080133U},
    {"TrueSense_BGGR_WBBW_3_8", "W B W G B W G W W G W R G W R W", 1U, 8U, &GetIndexMONO, 3U, 0x04080134U},
    {"TrueSense_GBRG_WGGW_0_8", "W G W B G W B W W R W G R W G W", 1U, 8U, &GetIndexMONO, 0U, 0x04080135U},
    {"TrueSense_GBRG_WGGW_1_8", "W G W B G W B W W R W G R W G W", 1U, 8U, &GetIndexMONO, 1U, 0x04080136U},
    {"TrueSense_GBRG_WGGW_2_8", "W G W B G W B W W R W G R W G W", 1U, 8U, &GetIndexMONO, 2U, 0x04080137U},
    {"TrueSense_GBRG_WGGW_3_8", "W G W B G W B W W R W G R W G W", 1U, 8U, &GetIndexMONO, 3U, 0x04080138U},
    {"TrueSense_GRBG_WGGW_0_8", "W G W R G W R W W B W G B W G W", 1U, 8U, &GetIndexMONO, 0U, 0x04080139U},
    {"TrueSense_GRBG_WGGW_1_8", "W G W R G W R W W B W G B W G W", 1U, 8U, &GetIndexMONO, 1U, 0x0408013AU},
    {"TrueSense_GRBG_WGGW_2_8", "W G W R G W R W W B W G B W G W", 1U, 8U, &GetIndexMONO, 2U, 0x0408013BU},
    {"TrueSense_GRBG_WGGW_3_8", "W G W R G W R W W B W G B W G W", 1U, 8U, &GetIndexMONO, 3U, 0x0408013CU},
    {"TrueSense_RGGB_WRRW_0_8", "W R W G R W G W W G W B G W B W", 1U, 8U, &GetIndexMONO, 0U, 0x0408013DU},
    {"TrueSense_RGGB_WRRW_1_8", "W R W G R W G W W G W B G W B W", 1U, 8U, &GetIndexMONO, 1U, 0x0408013EU},
    {"TrueSense_RGGB_WRRW_2_8", "W R W G R W G W W G W B G W B W", 1U, 8U, &GetIndexMONO, 2U, 0x0408013FU},
    {"TrueSense_RGGB_WRRW_3_8", "W R W G R W G W W G W B G W B W", 1U, 8U, &GetIndexMONO, 3U, 0x04080140U},
    {"TrueSense_BGGR_WBBW_0_10", "W B W G B W G W W G W R G W R W", 1U, 10U, &GetIndexMONO, 0U, 0x04100241U},
    {"TrueSense_BGGR_WBBW_1_10", "W B W G B W G W W G W R G W R W", 1U, 10U, &GetIndexMONO, 1U, 0x04100242U},
    {"TrueSense_BGGR_WBBW_2_10", "W B W G B W G W W G W R G W R W", 1U, 10U, &GetIndexMONO, 2U, 0x04100243U},
    {"TrueSense_BGGR_WBBW_3_10", "W B W G B W G W W G W R G W R W", 1U, 10U, &GetIndexMONO, 3U, 0x04100244U},
    {"TrueSense_GBRG_WGGW_0_10", "W G W B G W B W W R W G R W G W", 1U, 10U, &GetIndexMONO, 0U, 0x04100245U},
    {"TrueSense_GBRG_WGGW_1_10", "W G W B G W B W W R W G R W G W", 1U, 10U, &GetIndexMONO, 1U, 0x04100246U},
    {"TrueSense_GBRG_WGGW_2_10", "W G W B G W B W W R W G R W G W", 1U, 10U, &GetIndexMONO, 2U, 0x04100247U},
    {"TrueSense_GBRG_WGGW_3_10", "W G W B G W B W W R W G R W G W", 1U, 10U, &GetIndexMONO, 3U, 0x04100248U},
    {"TrueSense_GRBG_WGGW_0_10", "W G W R G W R W W B W G B W G W", 1U, 10U, &GetIndexMONO, 0U, 0x04100249U},
    {"TrueSense_GRBG_WGGW_1_10", "W G W R G W R W W B W G B W G W", 1U, 10U, &GetIndexMONO, 1U, 0x0410024AU},
    {"TrueSense_GRBG_WGGW_2_10", "W G W R G W R W W B W G B W G W", 1U, 10U, &GetIndexMONO, 2U, 0x0410024BU},
    {"TrueSense_GRBG_WGGW_3_10", "W G W R G W R W W B W G B W G W", 1U, 10U, &GetIndexMONO, 3U, 0x0410024CU},
    {"TrueSense_RGGB_WRRW_0_10", "W R W G R W G W W G W B G W B W", 1U, 10U, &GetIndexMONO, 0U, 0x0410024DU},
    {"TrueSense_RGGB_WRRW_1_10", "W R W G R W G W W G W B G W B W", 1U, 10U, &GetIndexMONO, 1U, 0x0410024EU},
    {"TrueSense_RGGB_WRRW_2_10", "W R W G R W G W W G W B G W B W", 1U, 10U, &GetIndexMONO, 2U, 0x0410024FU},
    {"TrueSense_RGGB_WRRW_3_10", "W R W G R W G W W G W B G W B W", 1U, 10U, &GetIndexMONO, 3U, 0x04100250U},
    {"TrueSense_BGGR_WBBW_0_12", "W B W G B W G W W G W R G W R W", 1U, 12U, &GetIndexMONO, 0U, 0x04100351U},
    {"TrueSense_BGGR_WBBW_1_12", "W B W G B W G W W G W R G W R W", 1U, 12U, &GetIndexMONO, 1U, 0x04100352U},
    {"TrueSense_BGGR_WBBW_2_12", "W B W G B W G W W G W R G W R W", 1U, 12U, &GetIndexMONO, 2U, 0x04100353U},
    {"TrueSense_BGGR_WBBW_3_12", "W B W G B W G W W G W R G W R W", 1U, 12U, &GetIndexMONO, 3U, 0x04100354U},
    {"TrueSense_GBRG_WGGW_0_12", "W G W B G W B W W R W G R W G W", 1U, 12U, &GetIndexMONO, 0U, 0x04100355U},
    {"TrueSense_GBRG_WGGW_1_12", "W G W B G W B W W R W G R W G W", 1U, 12U, &GetIndexMONO, 1U, 0x04100356U},
    {"TrueSense_GBRG_WGGW_2_12", "W G W B G W B W W R W G R W G W", 1U, 12U, &GetIndexMONO, 2U, 0x04100357U},
    {"TrueSense_GBRG_WGGW_3_12", "W G W B G W B W W R W G R W G W", 1U, 12U, &GetIndexMONO, 3U, 0x04100358U},
    {"TrueSense_GRBG_WGGW_0_12", "W G W R G W R W W B W G B W G W", 1U, 12U, &GetIndexMONO, 0U, 0x04100359U},
    {"TrueSense_GRBG_WGGW_1_12", "W G W R G W R W W B W G B W G W", 1U, 12U, &GetIndexMONO, 1U, 0x0410035AU},
    {"TrueSense_GRBG_WGGW_2_12", "W G W R G W R W W B W G B W G W", 1U, 12U, &GetIndexMONO, 2U, 0x0410035BU},
    {"TrueSense_GRBG_WGGW_3_12", "W G W R G W R W W B W G B W G W", 1U, 12U, &GetIndexMONO, 3U, 0x0410035CU},
    {"TrueSense_RGGB_WRRW_0_12", "W R W G R W G W W G W B G W B W", 1U, 12U, &GetIndexMONO, 0U, 0x0410035DU},
    {"TrueSense_RGGB_WRRW_1_12", "W R W G R W G W W G W B G W B W", 1U, 12U, &GetIndexMONO, 1U, 0x0410035EU},
    {"TrueSense_RGGB_WRRW_2_12", "W R W G R W G W W G W B G W B W", 1U, 12U, &GetIndexMONO, 2U, 0x0410035FU},
    {"TrueSense_RGGB_WRRW_3_12", "W R W G R W G W W G W B G W B W", 1U, 12U, &GetIndexMONO, 3U, 0x04100360U},
    {"TrueSense_BGGR_WBBW_0_14", "W B W G B W G W W G W R G W R W", 1U, 14U, &GetIndexMONO, 0U, 0x04100461U},
    {"TrueSense_BGGR_WBBW_1_14", "W B W G B W G W W G W R G W R W", 1U, 14U, &GetIndexMONO, 1U, 0x04100462U},
    {"TrueSense_BGGR_WBBW_2_14", "W B W G B W G W W G W R G W R W", 1U, 14U, &GetIndexMONO, 2U, 0x04100463U},
    {"TrueSense_BGGR_WBBW_3_14", "W B W G B W G W W G W R G W R W", 1U, 14U, &GetIndexMONO, 3U, 0x04100464U},
    {"TrueSense_GBRG_WGGW_0_14", "W G W B G W B W W R W G R W G W", 1U, 14U, &GetIndexMONO, 0U, 0x04100465U},
    {"TrueSense_GBRG_WGGW_1_14", "W G W B G W B W W R W G R W G W", 1U, 14U, &GetIndexMONO, 1U, 0x04100466U},
    {"TrueSense_GBRG_WGGW_2_14", "W G W B G W B W W R W G R W G W", 1U, 14U, &GetIndexMONO, 2U, 0x04100467U},
    {"TrueSense_GBRG_WGGW_3_14", "W G W B G W B W W R W G R W G W", 1U, 14U, &GetIndexMONO, 3U, 0x04100468U},
    {"TrueSense_GRBG_WGGW_0_14", "W G W R G W R W W B W G B W G W", 1U, 14U, &GetIndexMONO, 0U, 0x04100469U},
    {"TrueSense_GRBG_WGGW_1_14", "W G W R G W R W W B W G B W G W", 1U, 14U, &GetIndexMONO, 1U, 0x0410046AU},
    {"TrueSense_GRBG_WGGW_2_14", "W G W R G W R W W B W G B W G W", 1U, 14U, &GetIndexMONO, 2U, 0x0410046BU},
    {"TrueSense_GRBG_WGGW_3_14", "W G W R G W R W W B W G B W G W", 1U, 14U, &GetIndexMONO, 3U, 0x0410046CU},
    {"TrueSense_RGGB_WRRW_0_14", "W R W G R W G W W G W B G W B W", 1U, 14U, &GetIndexMONO, 0U, 0x0410046DU},
    {"TrueSense_RGGB_WRRW_1_14", "W R W G R W G W W G W B G W B W", 1U, 14U, &GetIndexMONO, 1U, 0x0410046EU},
    {"TrueSense_RGGB_WRRW_2_14", "W R W G R W G W W G W B G W B W", 1U, 14U, &GetIndexMONO, 2U, 0x0410046FU},
    {"TrueSense_RGGB_WRRW_3_14", "W R W G R W G W W G W B G W B W", 1U, 14U, &GetIndexMONO, 3U, 0x04100470U},
    {"RGB8", "R G B", 3U, 8U, &GetIndexRGB, 0U, 0x02180171U},
    {"BGR8", "B G R", 3U, 8U, &GetIndexBGR, 0U, 0x02180172U},
    {"RGBa8", "R G B A", 4U, 8U, &GetIndexRGBA, 0U, 0x02200173U},
    {"BGRa8", "B G R A", 4U, 8U, &GetIndexBGRA, 0U, 0x02200174U},
    {"RGB10", "R G B", 3U, 10U, &GetIndexRGB, 0U, 0x02300275U},
    {"BGR10", "B G R", 3U, 10U, &GetIndexBGR, 0U, 0x02300276U},
    {"RGB12", "R G B", 3U, 12U, &GetIndexRGB, 0U, 0x02300377U},
    {"BGR12", "B G R", 3U, 12U, &GetIndexBGR, 0U, 0x02300378U},
    {"RGB14", "R G B", 3U, 14U, &GetIndexRGB, 0U, 0x02300479U},
    {"BGR14", "B G R", 3U, 14U, &GetIndexBGR, 0U, 0x0230047AU},
    {"RGB16", "R G B", 3U, 16U, &GetIndexRGB, 0U, 0x0230057BU},
    {"BGR16", "B G R", 3U, 16U, &GetIndexBGR, 0U, 0x0230057CU},
    {"RGB_8_FLEX_Packed", "R G B", 3U, 8U, &GetIndexRGB, 0U, 0x0218317DU},
    {"RGB_10_FLEX_Packed", "R G B", 3U, 10U, &GetIndexRGB, 0U, 0x0220327EU},
    {"RGB_12_FLEX_Packed", "R G B", 3U, 12U, &GetIndexRGB, 0U, 0x0224337FU},
    {"YUV422_8_UYVY", "U Y V Y", 3U, 8U, &GetIndexYUV, 0U, 0x05100180U},
    {"YUV422_8", "Y U Y V", 3U, 8U, &GetIndexYUV, 0U, 0x05100181U},
    {"YUV422_10", "Y U Y V", 3U, 10U, &GetIndexYUV, 0U, 0x05200282U},
    {"YUV422_10_PACKED", "Y U Y V", 3U, 10U, &GetIndexYUV, 0U, 0x05143283U},
    {"YUV444_8", "Y U V A", 4U, 8U, &GetIndexYUV, 0U, 0x05200184U},
    {"YCbCr422_8", "Y Cb Y Cr", 3U, 8U, &GetIndexYUV, 0U, 0x05100185U},
};
// clang-format on

namespace
{

/// Each row's code says the row's number, depth and family; the columns must agree with it. The
/// layout's letters must be ones that a colour row's index function finds, in the order of the
/// positions, but for the layouts with A, Cb and Cr, which the function of their family lacks.
constexpr bool rowsAgreeWithTheirCodes()
{
    for (std::uint32_t i = 0; i < kPixelFormatCount; ++i) {
        const PixelFormat& row = s_colorModelDescription[i];
        const std::uint32_t family = ZelPixel::family(row.code);
        const bool isRgb = family == ZelPixel::kFamilyRgb;
        const bool isYuv = family == ZelPixel::kFamilyYuv;
        const bool unpacked = ZelPixel::packing(row.code) == ZelPixel::kPackingNone;
        if (ZelPixel::row(row.code) != i + 1 || ZelPixel::depth(row.code) != row.bits ||
            family < ZelPixel::kFamilyMono || family > ZelPixel::kFamilyYuv) {
            return false;
        }
        if (isRgb || isYuv ? row.components < 3 || row.components > 4 : row.components != 1) {
            return false;
        }
        // Unpacked samples fill whole bytes; subsampled colour stores fewer than it has components.
        const std::uint32_t sample = row.bits == 8 ? 8 : 16;
        if (unpacked && !isYuv && ZelPixel::storedBits(row.code) != sample * row.components) {
            return false;
        }
        if (!isYuv && ZelPixel::storedBits(row.code) < row.bits * row.components) {
            return false;
        }
        if (row.phase > 3 || (row.phase != 0 && family != ZelPixel::kFamilyTrueSense)) {
            return false;
        }
        for (std::uint32_t j = 0; isRgb && j < row.components; ++j) {
            if (row.indexOf(row.layout[std::size_t{2} * j]) != static_cast<std::int32_t>(j)) {
                return false;
            }
        }
    }
    return true;
}
static_assert(rowsAgreeWithTheirCodes(), "a row contradicts its pixel type code");

} // namespace

const PixelFormat* findPixelFormat(ZelPixelType code)
{
    const std::uint32_t row = ZelPixel::row(code);
    if (row < 1 || row > kPixelFormatCount) {
        return nullptr;
    }
    const PixelFormat& format = s_colorModelDescription[row - 1];
    return format.code == code ? &format : nullptr;
}

bool describePixels(ZelImage& image, ZelPixelType code)
{
    const PixelFormat* format = findPixelFormat(code);
    if (format == nullptr) {
        return false;
    }
    image.pixelType = code;
    image.bitsPerComponent = format->bits;
    image.components = format->components;
    image.packingAndDepth = code & 0xFF00U;
    image.storedBits = ZelPixel::storedBits(code);
    image.mosaic = 0;
    return true;
}

} // namespace imaging
