// Made by ./run tables lgamma; do not edit.
// Polynomials, lowest coefficient first, for f(x) = ln |gamma(x)|:
//     lgamma_1         f(1 + t) / t, -0.125 <= t <= 0.25
//     lgamma_2         f(2 + t) / t, -0.25 <= t <= 0.25
//     lgamma_middle    (f(c + t) - f(c)) / t^2, c = lgamma_minimum_at, 1.25 <= c + t <= 1.75
//     LRP, RRP         f(root + d): row k for the left and the right root in (-3 - k, -2 - k)
//     log_of_sine      ln(sin(pi g) / (pi g (1 - g^2))) / s, s = g^2 <= 0.25
// Products of x^2 + a x + b and a scale, each pair {a, b}:
//     lgamma_2_to_4    f(x) / (x - 2), 2.25 <= x <= 4
//     lgamma_4_to_256  row k: f(2^(k + 2) (1 + t)), 0 <= t <= 1
// LRIB, RRIB: {lower bound, root, upper bound}, the reach of LRP and RRP.
#pragma once

namespace nvo::tables {

inline constexpr long double lgamma_1[16] = {-0x9.3c467e37db0c78ep-4L, 0xd.28d3312983e8fdbp-4L, -0xc.d26aadf55997237p-5L, 0x8.a8991563f2bb6b1p-5L, -0xd.45ce0bd4724b524p-6L, 0xa.da0658699bdb149p-6L, -0x9.381d0f5a6a55c38p-6L, 0x8.0859c6c25c7ad2p-6L, -0xe.40338b62fd7316ep-7L, 0xc.d002b54e9adf7c8p-7L, -0xb.a43232f16ef0e4ap-7L, 0xa.ad2782d758b2c65p-7L, -0x9.e6e063f9aa3d3d2p-7L, 0x9.261123f0d5c2c76p-7L, -0xe.dd6d34d79fc65e4p-8L, 0xe.5d51c743916adcfp-9L};
inline constexpr long double lgamma_2[16] = {0xd.8773039049e70b6p-5L, 0xa.51a6625307d3231p-5L, -0x8.9f000d2abb03806p-7L, 0xa.8991563ec2422e7p-9L, -0xf.2027e10c75be364p-11L, 0xb.d6eb756db127bbep-12L, -0x9.c562e16a3939101p-13L, 0x8.59b57c3ba910fa1p-14L, -0xe.9fea4f3b307a3f2p-16L, 0xd.093d7433ece35ep-17L, -0xb.c6fdc2de6806f61p-18L, 0xa.c078c0531c38402p-19L, -0x9.e2b142b36b7a198p-20L, 0x9.29b742369168ceep-21L, -0x9.0a4b1f21e257791p-22L, 0x8.78e8820577ac41dp-23L};
inline constexpr long double lgamma_minimum_at = 0xb.b16c31ab5f1fb71p-3L, lgamma_minimum = -0xf.8cdcde61c520e0fp-7L;
inline constexpr long double lgamma_middle[16] = {0xf.7b95e4771c55d98p-5L, -0x9.7213c6e35e120cdp-6L, 0x8.45a14a6a81ae119p-7L, -0x8.64d46fa895f3792p-8L, 0x9.3373cbd0ad9a3cfp-9L, -0xa.8fcfca8a6f89a29p-10L, 0xc.7e7014ea7246c01p-11L, -0xf.178d10a861ecdb4p-12L, 0x9.4189429d74b6c4fp-12L, -0xb.7cc21d63f0feee5p-13L, 0xe.637dd240db55f03p-14L, -0x9.131c2f41a7d5cf3p-14L, 0xb.87de62a976134bcp-15L, -0xf.05e950c92a27073p-16L, 0x9.d9f87df95f318b6p-16L, -0x9.1668a6f60b6cc95p-17L};
struct LGammaProduct {
    long double scale;
    long double quadratics[12][2];
};
inline constexpr LGammaProduct lgamma_2_to_4 =
    {-0xb.b53ff7a39115f81p-48L, {{-0xd.96dcd53f3298a93p+0L, 0xb.c48337211f151e5p+2L}, {-0xc.d49654d23981a86p+0L, 0xb.2142f186e95c54fp+2L}, {-0xb.9ffe35c80335cd3p+0L, 0xa.1f9be594c7d65dp+2L}, {-0xa.0eca80692ca4138p+0L, 0x8.d39fc19a627fc2ap+2L}, {-0x8.3d494d01808836p+0L, 0xe.acfdb309ef0c0f6p+1L}, {-0xc.98f35e7afe59456p-1L, 0xb.8850f6f0e88ec47p+1L}, {-0x8.bfb9c1ff0bcce2fp-1L, 0x8.71c2f5ef45c945fp+1L}, {-0xe.8e6c19ff59ccf92p-8L, 0xb.797daf96423ac37p-2L}, {-0xa.6ccc1661ba62bfap-2L, 0xb.3c762a69934e4d8p+0L}, {0xf.5e1350045758656p-5L, 0xa.a46a004d66b2766p-4L}, {-0x9.037af576e8f3e4cp-3L, 0xc.eeb8346680bdf22p-1L}, {-0xf.d92bc4235cd2db3p-1L, 0xd.d9294ac989514d3p-1L}}};
inline constexpr LGammaProduct lgamma_4_to_256[6] = {
    {0xa.590c35810f90cb7p-21L, {{-0x9.d2bd2e5e67712cdp-1L, 0xc.30cbe9ff803a107p-1L}, {-0xd.4950e11c7200b37p-2L, 0xa.1f6358dad0f0433p-1L}, {0xf.e8d8af438224992p-3L, 0xe.b3950c71e618693p-3L}, {-0x9.96adc9dee3ffb8ap-2L, 0x8.f95c264158943e8p-1L}, {-0xb.102ee56ffe347dp-3L, 0xf.828891f617a4802p-2L}, {0x9.8e975958b41d0ebp-4L, 0xa.e834d02b166bcedp-2L}, {0xb.3af5415453836f6p-3L, 0x8.fa2110cafbe613ep-2L}, {0x9.1b9b8d8313dfeacp-2L, 0xb.edda5cf89ef8854p-3L}, {-0x8.2b87851455ac701p-1L, 0xb.19b9b0d36e0ea6ap-1L}, {-0xb.726f8c9863f82cfp-5L, 0xd.1d5a57f5823e8c4p-2L}, {-0x9.41fc5b14ead5e37p-1L, 0xb.d063ff40bb6ed79p-1L}, {0xa.0152d5ec4b6eeap-3L, 0xc.02a52fdca2b0c12p-5L}}},
    {0xb.b9e070a16fc884fp-21L, {{-0xa.20c89c3bfa63a25p-1L, 0xc.f5fdfff01f6484fp-1L}, {-0x8.6c0cd1d655b5625p-1L, 0xb.d71a44a6c88e26dp-1L}, {-0xd.b139115707d4fb5p-2L, 0xa.d5312c78f7655c3p-1L}, {-0x9.dfea5bb8d4206aap-2L, 0x9.a57129d98d8a45ap-1L}, {-0xb.5ea134cbf429e7p-3L, 0x8.61c6c69488802d3p-1L}, {-0xb.952f1428c8607c4p-5L, 0xe.44253764693dff9p-2L}, {0xb.ad401d31597294ep-3L, 0x9.e41b827038166c5p-2L}, {0x8.41a6a0244d8ba4ap-2L, 0x8.1e290618c71c7d7p-2L}, {0x9.6d1e2dc58a23147p-2L, 0xd.0a9d2622f80213ep-3L}, {0xa.018d4967b01f721p-4L, 0xb.f21a13a34039c5cp-2L}, {-0x9.8b69e47ce63238bp-1L, 0xc.92f3ec3bc69f7f4p-1L}, {0xd.117f3f0597e610cp-3L, 0xa.99fcdce667c06bdp-4L}}},
    {0xf.f450014f10220e6p-21L, {{-0xa.59554b14e96a664p-1L, 0xd.88ae2f79cf747fep-1L}, {-0xd.fb31bd0b877c717p-2L, 0xb.5ca6b7696a29d34p-1L}, {-0x8.9a78741dd76a6p-1L, 0xc.640f5a73a4976d7p-1L}, {-0xa.12c8e7e994d5779p-2L, 0xa.25ed31afcbc68d9p-1L}, {-0xb.90d8b1aac2c4b2fp-3L, 0x8.da1929247b96496p-1L}, {-0xb.88aebfcda5d07edp-5L, 0xf.22bc9659cea4576p-2L}, {0xa.6ee2acaa5be0d2bp-4L, 0xc.bd87c31e2af3c5dp-2L}, {0x8.86b7793b69384e2p-2L, 0x8.c07cff09e6ecd26p-2L}, {0xc.12193451abcacf8p-3L, 0xa.9b9e673cc39e9c9p-2L}, {0x9.bded87061d4a5dbp-2L, 0xe.1a928e7e6c520d5p-3L}, {-0x9.c081fe52618d308p-1L, 0xd.23b46c493a1f56cp-1L}, {0xe.be8e5797c38a782p-3L, 0xd.8b3a607fd1a18ffp-4L}}},
    {0xc.c4c488b2eb60b4cp-20L, {{-0xe.2d52f97f90e9f84p-2L, 0xb.ba7634cd827ab3cp-1L}, {-0x8.b9f3d377befe4eep-1L, 0xc.c58869b10e83f3dp-1L}, {-0x9.e484f322124d516p-1L, 0xd.87b57286d5b3925p-1L}, {-0xa.352676cf1df6959p-2L, 0xa.7f1a491cac2e446p-1L}, {-0xb.b23e4f77a55783p-3L, 0x9.2ddfb571dc424f3p-1L}, {0xa.be096e2a3136fe8p-4L, 0xd.4cd1ed4d1717db1p-2L}, {0xc.5ae02a7fbe0c442p-3L, 0xb.1e6030d83075d08p-2L}, {0x8.b96def80c523514p-2L, 0x9.36c53e3e896a0d4p-2L}, {0x9.fcaa7172e8c472bp-2L, 0xe.ed6b2d78286987ap-3L}, {-0xb.7ac9eb667429ee7p-5L, 0xf.be6f194493e1a71p-2L}, {-0xa.7faff0c6163cbdp-1L, 0xd.edfa14884b5bdc7p-1L}, {0xf.bf62e28e0190ddcp-3L, 0xf.70df1c595d6fd76p-4L}}},
    {0xb.55f7b4c74321592p-19L, {{-0xa.99e568f1fe4710cp-1L, 0xe.340898ba015b9b9p-1L}, {0x8.ddc1d82fd0c2971p-2L, 0x9.8bc640d07a7c167p-2L}, {-0x8.cf811946d71c0efp-1L, 0xd.090baa267a29b77p-1L}, {-0xe.4fb50e3951c5a09p-2L, 0xb.fb8964c586e87b4p-1L}, {-0xa.4cc8d7a3670f20ap-2L, 0xa.bd17d8429827297p-1L}, {-0xb.7128d592b155877p-5L, 0x8.15b0588f4a9b81cp-1L}, {0xa.f54e170c02a6c97p-4L, 0xd.b19a6ff0eed3137p-2L}, {0xc.8e310bac9bd45e6p-3L, 0xb.7b10427dc439482p-2L}, {0xa.2b29f53d88d91d9p-2L, 0xf.8a26be796f8b545p-3L}, {-0xb.c94beb020e6935p-3L, 0x9.684614151ea368ep-1L}, {-0x9.fd245f485dc2258p-1L, 0xd.cce7ddd0e786fb1p-1L}, {0x8.32d930320dc2647p-2L, 0x8.5bb7f3a0f927757p-3L}}},
    {0xa.a92a4cc21d00b6ep-18L, {{-0xa.acbfdfd599e339bp-1L, 0xe.66d959b20eed1dfp-1L}, {-0xa.0edcda6b52f2a09p-1L, 0xd.ff1dfb219a469c9p-1L}, {-0x8.df077fc6dcf8c1cp-1L, 0xd.3a12bbcae9e6b57p-1L}, {-0xa.5ddcf1f69626bacp-2L, 0xa.ea3cd0a59c48e32p-1L}, {0x8.f8e6839c9e56733p-2L, 0x9.cb2df53145f4aafp-2L}, {-0xb.d9f9f8b074c312cp-3L, 0x9.92e50ba96a2e531p-1L}, {-0xb.69e94a8c1117cd8p-5L, 0x8.3d8e39b1f9a59cap-1L}, {0xb.1deba07cc71c90ep-4L, 0xd.fba5efdc3ea8b32p-2L}, {0xa.4ea13ee413f8eb6p-2L, 0x8.00cc536444b4fc9p-2L}, {-0xe.68827e63ae5b4p-2L, 0xc.2ad9a909a1c675bp-1L}, {0xc.b42121921c473bcp-3L, 0xb.bf8b93276a14f4cp-2L}, {0x8.6c865178763410dp-2L, 0x8.cf24feae30e6e55p-3L}}},
};
inline constexpr double LRIB[13][3] = {
    {-0x1.61b8cf97a1b71p+1, -0x1.5fb410a1bd901p+1, -0x1.5daf51abd9691p+1},
    {-0x1.faa2a3f346ce7p+1, -0x1.fa471547c2fe5p+1, -0x1.f9eb869c3f2e3p+1},
    {-0x1.3f7e202c7fc4dp+2, -0x1.3f7577a6eeafdp+2, -0x1.3f6ccf215d9adp+2},
    {-0x1.7fea9c638d4ccp+2, -0x1.7fe92f591f40dp+2, -0x1.7fe7c24eb134ep+2},
    {-0x1.bffcf37f4ce81p+2, -0x1.bffcbf76b86fp+2, -0x1.bffc8b6e23f5fp+2},
    {-0x1.ffff9e7894432p+2, -0x1.ffff97f8159cfp+2, -0x1.ffff917796f6cp+2},
    {-0x1.1ffffa94fc713p+3, -0x1.1ffffa3884bdp+3, -0x1.1ffff9dc0d08dp+3},
    {-0x1.3fffff754ca44p+3, -0x1.3fffff6c0d7cp+3, -0x1.3fffff62ce53cp+3},
    {-0x1.5ffffff3640f7p+3, -0x1.5ffffff28cdd4p+3, -0x1.5ffffff1b5ab1p+3},
    {-0x1.7ffffffef3015p+3, -0x1.7ffffffee1127p+3, -0x1.7ffffffecf239p+3},
    {-0x1.9fffffffeb4eep+3, -0x1.9fffffffe9edcp+3, -0x1.9fffffffe88cap+3},
    {-0x1.bffffffffe85bp+3, -0x1.bffffffffe6c7p+3, -0x1.bffffffffe533p+3},
    {-0x1.dfffffffffe6dp+3, -0x1.dfffffffffe52p+3, -0x1.dfffffffffe37p+3},
};
inline constexpr long double LRP[13][13] = {
    {0xc.7dc2985d3b44557p-56L, -0xf.5096d48258ca0bap-3L, 0x9.933f9e132d2a65bp+0L, -0xa.0c2d61864611d6ep+1L, 0xf.a8256664f8fba52p+2L, -0xc.2c422c0e4cd764fp+4L, 0xa.1b9fbe61ba2bc98p+6L, -0x8.911ce71271acc89p+8L, 0xe.dd33003acd8ee52p+9L, -0xd.1673ab16ecfd991p+11L, 0xb.abef3c52fc5b27p+13L, -0xa.9e3ecdbdb9c4ab9p+15L, 0x9.a52dfb1f8d95432p+17L},
    {-0xe.ee019b4c05ac269p-55L, -0xa.5ccecb362b21e1ap+1L, 0xf.bb6f57021b5ae49p+4L, -0xe.929acea597b5013p+8L, 0xf.47c14f8a0d728aap+12L, -0x8.8b7bc03536e259cp+17L, 0x9.f479d5ce1c7b9f4p+21L, -0xb.eddf0e70ca9b59dp+25L, 0xe.97bb7df92c03a17p+29L, -0x9.111a951cd5957d3p+34L, 0xb.6879b406c7236f3p+38L, -0xe.a4ebeb2d1720c7dp+42L, 0x9.627c438a3bb8eabp+47L},
    {0x9.f47a66a2f53d9b9p-49L, -0xe.91251f7cf25a656p+3L, 0xd.a99e33c51d34ecdp+9L, -0x8.69fbff732f2aecep+16L, 0xb.a9537ad6149ce87p+22L, -0x8.9eae8b1c8b4492p+29L, 0xd.462e29a06c91d5p+35L, -0xa.8345a96b31322a3p+42L, 0x8.7fd2c389c6300eap+49L, -0xd.f5e8894bd6df4dp+55L, 0xb.9bf67e85f2081f2p+62L, -0x9.d95f965301a81dap+69L, 0x8.57cf4723f5548a2p+76L},
    {-0x8.589a7cffe0a3e86p-45L, -0xb.30fb521d2c19f8bp+6L, 0xf.bcee5bca70fc5cp+14L, -0xe.b7404450c4928bdp+23L, 0xf.7ae9846dee428adp+32L, -0x8.af5358543bbc597p+42L, 0xa.26aa74fd347dfa5p+51L, -0xc.34272c02ecf2901p+60L, 0xe.fa261ddf6280419p+69L, -0x9.56022a3dbdec201p+79L, 0xb.c8f6afa60146de9p+88L, -0xf.2d63a0ae1d1fe49p+97L, 0x9.c20bff82216c669p+107L},
    {0xe.f46d8dcca9e8197p-48L, -0x9.d5fbd2e75520e65p+9L, 0xc.1a4d12a8228068fp+20L, -0x9.ec8ed6e4c3e6281p+32L, 0x9.279eb1b79bd84d2p+44L, -0x9.0213ef8c2d84337p+56L, 0x9.3baf42be3ae2e0cp+68L, -0x9.bbf38ee5707cb1cp+80L, 0xa.79e952014391cb3p+92L, -0xb.740fbbb1327f453p+104L, 0xc.adb9eae0eab8905p+116L, -0xe.5198690afb9f451p+128L, 0x8.12b4cf22512f13ep+141L},
    {-0x9.54612700adf8317p-42L, -0x9.d7bb7f2600dff0ap+12L, 0xc.1c73b6554011e05p+26L, -0x9.ef3459926d23684p+41L, 0x9.2ae0292930c7ae5p+56L, -0x9.0615420a2fed35fp+71L, 0x9.409c9a14517ae8ep+86L, -0x9.c2033f6084394f2p+101L, 0xa.815e3170d2ae557p+116L, -0xb.7d3becc5a70f435p+131L, 0xc.b902a2e266980bcp+146L, -0xe.5f9daddf434ee0dp+161L, 0x8.1b54d5d13f6ae89p+177L},
    {-0xb.108f35a8eda92d5p-37L, -0xb.12f6fe2e195452cp+15L, 0xf.5460a8196b58ccdp+32L, -0xe.2598724f7e3ce0ap+50L, 0xe.aff234598f4b5cep+68L, -0x8.21e90dd1cbed1e6p+87L, 0x9.619a57148e34294p+105L, -0xb.218a64946640fa6p+123L, 0xd.7b76b9c49ce3b22p+141L, -0x8.4b5e97ed0d43a91p+160L, 0xa.55612f2e267550ap+178L, -0xd.225c3d02c6255a7p+196L, 0x8.558be35b0aa9d73p+215L},
    {0xf.3891a50642faf26p-33L, -0xd.d7bed3631657b45p+18L, 0xb.f9f43d461b3de35p+39L, -0xd.d0c5f920c30da55p+60L, 0x8.f6f0a4c3d498d5cp+82L, -0xc.68d4d78364436a2p+103L, 0x8.f26c6345863ab2cp+125L, -0xd.450c9e3aa9cd32ep+146L, 0xa.0ba7bf877d58ec9p+168L, -0xf.7348239b889132fp+189L, 0xc.07cc647910fbb52p+211L, -0x9.8e96b5b5b04ec62p+233L, 0xf.2928422961a3008p+254L},
    {0x8.81550711d143475p-30L, -0x9.8453edb9339c24dp+22L, 0xb.5249c335342aef9p+46L, -0x8.fa8fb5c92542afdp+71L, 0x8.02cca1ce17b09e4p+96L, -0xf.3f73f886d36a569p+120L, 0xf.1daa914b865ba49p+145L, -0xf.69c6f20665cef67p+170L, 0x8.059a467881f47e3p+196L, -0x8.7b7899df3845a92p+221L, 0x9.14e3196f314eb27p+246L, -0x9.eb78f10dd3abdefp+271L, 0xa.d19915b7fc7c8fp+296L},
    {-0xc.e27c4f01cf53284p-28L, -0xe.467df1fa674bfacp+25L, 0xc.bc92fb9bdaa9257p+53L, -0xf.26d282c36ee088bp+81L, 0xa.238afcc8d5fb888p+110L, -0xe.793b14e7faadf03p+138L, 0xa.c2deadf004652ccp+167L, -0x8.3aca6959ca7bf14p+196L, 0xc.d9796e816c79699p+224L, -0xa.30b5267ad68e4ffp+253L, 0x8.2ec2d2c24926d78p+282L, -0xd.6828a91e5573ba2p+310L, 0xa.f76266537e6ee62p+339L},
    {0x8.cfafa9a142c1ffp-21L, -0xb.9949916f8df4ac2p+29L, 0x8.6881b8674dbf106p+61L, -0x8.20899603d9b7b6bp+93L, 0x8.d658a5c08518ae7p+125L, -0xa.400b9ff3e0d4a44p+157L, 0xc.626342eee336fd4p+189L, -0xf.63eca90bee399e8p+221L, 0x9.c3205fd71c74cp+254L, -0xc.94a428183f3a8f7p+286L, 0x8.353ea83fd4bf2ebp+319L, -0xa.ed45b9c55a7fac1p+351L, 0xe.8621cbfd3f815ep+383L},
    {0x9.4001bf5a24966f5p-17L, -0xa.264c84bb8a66f84p+33L, 0xc.e076a5a116c1d2cp+68L, -0xa.e426731c9bab71ap+104L, 0xa.5cfef5ff127784fp+140L, -0xa.84afa4c52bb16a4p+176L, 0xb.1ed804173c4fb44p+212L, -0xc.17d28669d9adf9dp+248L, 0xd.6cb67c8dfdd9e65p+284L, -0xf.238ed7dd0a76ee9p+320L, 0x8.a49cbed37c70a98p+357L, -0xa.11829f2269dfe9p+393L, 0xb.b6087060925d461p+429L},
    {0x9.76bec1f30df151cp-13L, -0x9.868c809852da711p+37L, 0xb.57930dce7a61ae9p+76L, -0x9.00da565ed77efd8p+116L, 0x8.0a4987799b8747ap+156L, -0xf.5146c874d573db2p+195L, 0xf.32e10667f82c9c9p+235L, -0xf.8306096543e3e98p+275L, 0x8.14a051432cb241fp+316L, -0x8.8d59d3f76b74b06p+356L, 0x9.2a2b18928ab6707p+396L, -0xa.050d63b2cdfedadp+436L, 0xa.efdcce7fa046319p+476L},
};
inline constexpr double RRIB[13][3] = {
    {-0x1.3e27c5f6107f3p+1, -0x1.3a7fc9600f86cp+1, -0x1.36d7ccca0e8e5p+1},
    {-0x1.9386e98683f4ap+1, -0x1.9260dbc9e59afp+1, -0x1.913ace0d47414p+1},
    {-0x1.02ad35fdf2ed9p+2, -0x1.0284e78599581p+2, -0x1.025c990d3fc29p+2},
    {-0x1.408f0fd6fc247p+2, -0x1.4086a57f0b6d9p+2, -0x1.407e3b271ab6bp+2},
    {-0x1.80181d7e21456p+2, -0x1.8016b25897c8dp+2, -0x1.801547330e4c4p+2},
    {-0x1.c00373dccde01p+2, -0x1.c0033fdedfe1fp+2, -0x1.c0030be0f1e3dp+2},
    {-0x1.00003742b3f39p+3, -0x1.000034028b3f9p+3, -0x1.000030c2628b9p+3},
    {-0x1.20000623edf8bp+3, -0x1.200005c7768fbp+3, -0x1.2000056aff26bp+3},
    {-0x1.4000009d319eep+3, -0x1.40000093f2777p+3, -0x1.4000008ab35p+3},
    {-0x1.6000000e4a54dp+3, -0x1.6000000d7322ap+3, -0x1.6000000c9bf07p+3},
    {-0x1.8000000130dc7p+3, -0x1.800000011eed9p+3, -0x1.800000010cfebp+3},
    {-0x1.a000000017736p+3, -0x1.a000000016124p+3, -0x1.a000000014b12p+3},
    {-0x1.c000000001acdp+3, -0x1.c000000001939p+3, -0x1.c0000000017a5p+3},
};
inline constexpr long double RRP[13][13] = {
    {0x8.191db68ff4366a1p-57L, 0xc.1ff4b357a9b0381p-3L, 0x9.b775d8017aae64ep-1L, 0xb.4a5302c53c633b9p-3L, 0x8.b8c6be504f3e353p+0L, 0xb.99cff022b85314bp-1L, 0xc.6997b4138b98dd3p+1L, 0xc.04f8360885879b5p+1L, 0xa.475549b9d00b8aep+3L, 0xc.949bcd026a84898p+3L, 0x9.4368f4b0266f729p+5L, 0xd.6d23b4095528816p+5L, 0x8.eb054be06eb9ed6p+7L},
    {0xf.4b02f1d73d30eedp-53L, 0xf.90532f97d630c68p-1L, 0xc.ea694bb8a8820b6p+1L, 0xe.089b8926ae5d3b3p+3L, 0x9.33901ebbb5ae649p+6L, 0xc.cd319beb12dde74p+8L, 0x9.49e1fbc4f7dac7fp+11L, 0xd.dcbd5d8b140a1fcp+13L, 0xa.8f51a4d8b186a4bp+16L, 0x8.2be7ece5f03f614p+19L, 0xc.ce240610e3314cp+21L, 0xa.3c749bd6a0a488fp+24L, 0x8.2b7faa5c588839bp+27L},
    {-0xc.c1682d17a2b5a58p-51L, 0xd.652e7a490b0dcdep+1L, 0xa.220ae6c09fa8879p+5L, 0xa.acd88d954e240adp+9L, 0xc.b68c710d75c19c5p+13L, 0x8.130f5ab84d90d55p+18L, 0xa.af1edfcb0fa3083p+22L, 0xe.8a7f32b739e4cbfp+26L, 0xa.19ee7b73f3f59ffp+31L, 0xe.41ab4bb69dfd31ep+35L, 0xa.2fc66ebe41ac286p+40L, 0xe.d9fc9a6f22687fbp+44L, 0xa.cf46f44df5e8cb3p+49L},
    {0xc.33c13fee07494dep-51L, 0xf.6b970414d717d36p+3L, 0xe.7661976117f91d4p+9L, 0x9.29ec2b1fb96e6a9p+16L, 0xd.112ef96d37a1d5ap+22L, 0x9.f00bb9b97e3296ap+29L, 0xf.bec6adeb8dad98p+35L, 0xc.d468126fe90bb2ep+42L, 0xa.abfed0ea815ebb8p+49L, 0x9.047bcd8eb8b28dep+56L, 0xf.6e26e5942797beap+62L, 0xd.77faa861d4cf6c3p+69L, 0xb.bd04920a47ac2c5p+76L},
    {-0xd.11e91b3ff8f4b94p-48L, 0xb.4ef24f1d78c202ap+6L, 0xf.e711a4267ce991fp+14L, 0xe.f281d1e1bbf6e4ap+23L, 0xf.ce3da92ac24e979p+32L, 0x8.e9ea8388b2e2c4ep+42L, 0xa.790f17db10fbe55p+51L, 0xc.a804d6709c3100fp+60L, 0xf.9d1621a3e368794p+69L, 0x9.c89224e737597e2p+79L, 0xc.6a1196e339e5b5p+88L, 0x8.091b9b950be549cp+98L, 0xa.62f6bf0ec2c6289p+107L},
    {-0xb.1c7b615a7dca8a9p-43L, 0x9.da03d51c303c918p+9L, 0xc.1f42ed57bbc1ea7p+20L, 0x9.f2a95af1b7b8c07p+32L, 0x9.2f21522f15449d2p+44L, 0x9.0b51ab01f24f007p+56L, 0x9.470e3875b694251p+68L, 0x9.c9f16768be95826p+80L, 0xa.8b20ab9f2f2540bp+92L, 0xb.893ea548e35d40bp+104L, 0xc.c7caa2d678a763bp+116L, 0xe.71fd3a161d9aaffp+128L, 0x8.26a37ea7be30feep+141L},
    {0x9.a749af9f2d2e688p-39L, 0x9.d8447f6bf99950ap+12L, 0xc.1d1c49ac5b29c5bp+26L, 0x9.f003c6de9676956p+41L, 0x9.2bdf64a5e57fa22p+56L, 0x9.074f503ca46cdd4p+71L, 0x9.421f098c6fc0ebep+86L, 0x9.c3debe8b2899f23p+101L, 0xa.83a746ea8d122c7p+116L, 0xb.800bd38f7136425p+131L, 0xc.bc78739a8e0cf98p+146L, 0xe.63ea90a60ef8651p+161L, 0x8.1dfa39b1f6f2465p+177L},
    {0x9.77af525a6eca1bcp-38L, 0xb.130901ca6d81b6p+15L, 0xf.547997e083d9555p+32L, 0xe.25baf73ab8c1a44p+50L, 0xe.b021fd18ae67016p+68L, 0x8.220a2093943d89ep+87L, 0x9.61c81f6b8ddd0d1p+105L, 0xb.21c9c4c810be881p+123L, 0xd.7bce7490272dd31p+141L, 0x8.4b9b4ff77d4f897p+160L, 0xa.55b53c6b49c0c5fp+178L, 0xd.22d1c130a3aaa1ap+196L, 0x8.55dd3c7761bfe3cp+215L},
    {0xa.e1bbe4d3cdaccf4p-33L, 0xd.d7c12d5182fd541p+18L, 0xb.f9f645f282ac13cp+39L, 0xd.d0c97e12d4bd0e4p+60L, 0x8.f6f3b03d3331b2cp+82L, 0xc.68da1c460f4c86fp+103L, 0x8.f270f22ee24a107p+125L, 0xd.451481640c866a1p+146L, 0xa.0bae9274403ae7ep+168L, 0xf.7353f248c82f9c9p+189L, 0xc.07d69b9bebdbd2ep+211L, 0x9.8e9fa2eb447ece2p+233L, 0xf.2937b4e6baa8408p+254L},
    {0xe.ae760cd2c086094p-29L, 0x9.845417e8598d642p+22L, 0xb.5249f914932de9ap+46L, 0x8.fa8ff5df8b8215ap+71L, 0x8.02ccee0b5d50c68p+96L, 0xf.3f74adead748999p+120L, 0xf.1dab69146dd0281p+145L, 0xf.69c7f2b9b81a0c3p+170L, 0x8.059adf286aa1ef9p+196L, 0x8.7b794f810c5280ep+221L, 0x9.14e3f182b414fcp+246L, 0x9.eb79f4abaa83fa4p+271L, 0xa.d19a4a10dc7d534p+296L},
    {-0xf.b743a426163665bp-28L, 0xe.467df4810ee7eecp+25L, 0xc.bc92fb9bdaa9257p+53L, 0xf.26d282c36ee088bp+81L, 0xa.238afcc8d5fb884p+110L, 0xe.793b14e7faadf03p+138L, 0xa.c2deadf00466b61p+167L, 0x8.3aca6959ca7bf14p+196L, 0xc.d9796e8167c1cbbp+224L, 0xa.30b5267ad68e4ffp+253L, 0x8.2ec2d2c59fa62a1p+282L, 0xd.6828a91e5573ba2p+310L, 0xa.f762648e04c4612p+339L},
    {0x8.cf3cc35aa2c5f9p-21L, 0xb.9949919933821cap+29L, 0x8.6881b8674dbf106p+61L, 0x8.20899603d9b7b6bp+93L, 0x8.d658a5c08518acp+125L, 0xa.400b9ff3e0d4a44p+157L, 0xc.626342eee34cbp+189L, 0xf.63eca90bee399e8p+221L, 0x9.c3205fd6f0796c6p+254L, 0xc.94a428183f3a8f7p+286L, 0x8.353ea868ebbf429p+319L, 0xa.ed45b9c55a7fac1p+351L, 0xe.8621af32bbef72p+383L},
    {0x9.40013871a15050bp-17L, 0xa.264c84be3708f3ep+33L, 0xc.e076a5a116c1d2fp+68L, 0xa.e426731c9bab71ap+104L, 0xa.5cfef5ff1273f0bp+140L, 0xa.84afa4c52bb16a4p+176L, 0xb.1ed8041754e4111p+212L, 0xc.17d28669d9adf9dp+248L, 0xd.6cb67c41b0e763ep+284L, 0xf.238ed7dd0a76ee9p+320L, 0x8.a49cf568ef0f1f6p+357L, 0xa.11829f2269dfe9p+393L, 0xb.b5eb27269335ffdp+429L},
};
inline constexpr long double log_of_sine[10] = {-0xa.51a6625307d323p-4L, -0xa.8991563ec244c1ep-8L, -0xb.d6eb756da98b885p-11L, -0x8.59b57c3bce4ff4ap-13L, -0xd.093d7f729f3e4b4p-16L, -0xa.c07057d2ac27ddep-18L, -0x9.2c7982bb987ccbcp-20L, -0x8.090095f1c804e27p-22L, -0xd.a056d84d0f092d3p-25L, -0x8.8fd2f3e437bd5f5p-26L};

} // namespace nvo::tables
