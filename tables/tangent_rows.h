// Made by ./run tables tangent_rows; do not edit.
#pragma once

namespace nvo::tables {

// Entry i: tan as {hi, lo} of (i + 8) pi/64.
inline constexpr long double _TT[9][2] = {
    {0x6.a09e667f3bcc9088p-4L, 0x3.2fb1366ea957d3e4p-68L},
    {0x7.91438349cf9e9418p-4L, -0x2.dd0ea1ac3ac91abp-68L},
    {0x8.8d5b8c841a75c35p-4L, 0x3.6865c3394652bde8p-68L},
    {0x9.970c44823ffe5dfp-4L, -0x6.8843cd49efa051ap-68L},
    {0xa.b0dc155bfcc82f5p-4L, 0x1.8a42e56cea7698c2p-68L},
    {0xb.ddccf694c8674abp-4L, 0x1.58e3762cd448cb16p-68L},
    {0xd.218015721427e59p-4L, 0x2.47f018690256a38p-68L},
    {0xe.8065e39c269718ep-4L, -0x3.527a19f04190220cp-68L},
    {0x1p+0L, 0x0p+0L},
};

// Entry i: tan + cot of (i + 8) pi/64.
inline constexpr long double _TG[9] = {
    0x2.d413cccfe779921p+0L,
    0x2.965873177c78cf34p+0L,
    0x2.67c6f43c02e7be54p+0L,
    0x2.448cfa20cb4e8428p+0L,
    0x2.2a2f4f7b671297fcp+0L,
    0x2.1709e07d7c2bc78p+0L,
    0x2.0a07da2f974a5cdp+0L,
    0x2.027a338c3b2e27ep+0L,
    0x2p+0L,
};

// Entry i: cot as {hi, lo} of (i + 8) pi/64.
inline constexpr long double _GG[9][2] = {
    {0x2.6a09e667f3bcc908p+0L, 0xb.2fb1366ea957d3ep-68L},
    {0x2.1d443ae2df7ee5f4p+0L, -0x6.4d2e70da361bd3bp-68L},
    {0x1.def13b73c140622p+0L, -0x9.831471ece4c0109p-68L},
    {0x1.ab1c35d8a74e9e4ap+0L, -0xf.b77846d762fad5dp-68L},
    {0x1.7f218e25a7461506p+0L, 0x7.e9a5524a3d264088p-68L},
    {0x1.592d11142fa552d4p+0L, 0x1.0bc77875eca8da62p-68L},
    {0x1.37efd8d87607de78p+0L, 0x1.a5268caa96bae2e6p-68L},
    {0x1.1a73d55278c4b652p+0L, -0x4.cfd265a18487ec48p-68L},
    {0x1p+0L, 0x0p+0L},
};

} // namespace nvo::tables
