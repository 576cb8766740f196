// The built-in wavelets. For the orthogonal ones the low-pass filter is printed; for the splines, the pair of them. All
// others follow: reversed, and with every second sign changed.
//
// Sources: I. Daubechies, Ten Lectures on Wavelets (1992): minimum phase (table 6.1), least asymmetric (table 6.3),
// coiflets (table 8.1; that of 6 taps is the one built on the root of 15). P. P. Vaidyanathan and P.-Q. Hoang, Lattice
// structures for optimal design and robust implementation of two-channel perfect-reconstruction QMF banks (1988).
// A. Cohen, I. Daubechies and J.-C. Feauveau, Biorthogonal bases of compactly supported wavelets (1992).
#include "transform/ownwavelets.h"

namespace {

// Low-pass decomposition filters of orthogonal wavelets: they sum to 1.
constexpr double HAAR[] = {0.5, 0.5};
constexpr double DAUBECHIES_2[] = {0.34150635094610965, 0.5915063509461097, 0.15849364905389035, -0.091506350946109663};
constexpr double DAUBECHIES_3[] = {0.23523360389208184,   0.5705584579157218,    0.32518250026311624,
                                   -0.095467207784163677, -0.060416104155198103, 0.024908749868441868};
constexpr double DAUBECHIES_4[] = {0.16290171402564918,   0.50547285754591442,   0.44610006912337979,
                                   -0.019787513117822321, -0.13225358368451987,  0.021808150237088625,
                                   0.02325180053549088,   -0.0074934946651807359};
constexpr double DAUBECHIES_5[] = {
    0.11320949129177918,  0.42697177135251418,  0.51216347212959856,    0.097883480673904677,   -0.17132835769146745,
    -0.02280056594177365, 0.054851329321066823, -0.0044134000541791269, -0.0088959350509770965, 0.0023587139695339359};
constexpr double DAUBECHIES_6[] = {0.078871216001450709,   0.34975190703761783,   0.53113187994086897,
                                   0.22291566146501776,    -0.15999329944606139,  -0.091759032030147569,
                                   0.068944046487372304,   0.019461604854164663,  -0.022331874165094533,
                                   0.00039162557614857789, 0.0033780311814639377, -0.00076176690280125323};
constexpr double DAUBECHIES_7[] = {
    0.05504971537281185,   0.28039564181276255,    0.51557424581809863,    0.33218624110553968,   -0.10175691123134624,
    -0.15841750564033283,  0.05042323250469409,    0.057001722579871579,   -0.02689122629484544,  -0.01171997078210329,
    0.0088748961896807643, 0.00030375749770106936, -0.0012739523590936865, 0.00025011342656124531};
constexpr double DAUBECHIES_8[] = {
    0.038477811054076237,   0.22123362357612492,     0.47774307521387371,    0.41390826621119586,
    -0.011192867666880218,  -0.20082931639048904,    0.00033409704622011877, 0.091038178423657745,
    -0.012281950522848408,  -0.031175103325139428,   0.0098860796483507592,  0.0061844224098159227,
    -0.0034438596284418091, -0.00027700227447938935, 0.00047761485564962614, -8.3068630686612688e-05};
constexpr double DAUBECHIES_9[] = {0.0269251747946628,     0.17241715190697793,     0.42767453217970758,
                                   0.46477285718314731,    0.094184774753183778,    -0.2073758809009385,
                                   -0.068476774512383098,  0.10503417113950619,     0.021726337730614543,
                                   -0.047823632060097029,  0.00017744640661651891,  0.015812082926255862,
                                   -0.0033398101131385774, -0.0030274802875450658,  0.0013064836402472456,
                                   0.00016290733567609221, -0.00017816487951077768, 2.7822757017154856e-05};
constexpr double DAUBECHIES_10[] = {
    0.018858578796120688,    0.13306109139692088,     0.37278753574323337,    0.48681405536681993,
    0.1988188708845087,      -0.17666810089705631,    -0.13855493936048316,   0.090063724266696663,
    0.065801493550535009,    -0.050483285598389716,   -0.020829624043800808,  0.023484907048698562,
    0.0025502184839072389,   -0.0075895011679282497,  0.00098666268248160261, 0.0014088432950973382,
    -0.00048497391992820548, -8.2354503045388973e-05, 6.6177183425553379e-05, -9.3792078137502046e-06};
constexpr double SYMLET_1[] = {-0.053574450709102911,  -0.020955482562529763, 0.35186953432814994,
                               0.56832912170382033,    0.21061726710178855,   -0.07015881208927173,
                               -0.0089123507208355782, 0.02278517294798113};
constexpr double SYMLET_2[] = {0.019327397977383993,  0.020873432210741651, -0.027672093058311035, 0.14099534842690961,
                               0.51152648344719576,   0.44829082418991606,  0.011739461568061892,  -0.12397568130647124,
                               -0.014921249934330636, 0.01381607647890391};
constexpr double SYMLET_3[] = {0.01089235016329234,   0.0024683061859233179, -0.083431607706072969,
                               -0.034161560793286007, 0.34722898647921768,   0.55694639196286899,
                               0.2389521856664347,    -0.051362484930839246, -0.014891875649269698,
                               0.031625281330021744,  0.0012499610463979228, -0.0055159337546887514};
constexpr double SYMLET_4[] = {
    0.0018963292671016231, -0.00074061295729776003, -0.0089352158255620526, 0.021577726290979624, 0.048007383967732908,
    -0.035039145611000654, 0.012332829744305895,    0.37908130098184978,    0.54289135490721085,  0.20409196986225916,
    -0.099028353403661298, -0.076231935947767379,   0.0028356713428720607,  0.007260697380977235};
constexpr double SYMLET_5[] = {
    0.0013363966964058051, -0.00021419715012195391, -0.010572843264189771,   0.0026931943768827129,
    0.034745232955676476,  -0.019246760631703386,   -0.036731254380501795,   0.25769933518713672,
    0.54955331526837137,   0.34037267359486828,     -0.043326807702927447,   -0.10132432764314635,
    0.0053793058752816683, 0.022411811521833119,    -0.00038334544811626295, -0.0023917292557491822};
constexpr double SYMLET_6[] = {0.00075624365468110336, -0.00033457075456558012, -0.0072577892764722866,
                               0.006264448120928876,   0.043895625777140235,    -0.012893222964711681,
                               -0.1354468917522301,    0.024941415479061518,    0.4365242036747411,
                               0.50762989541675618,    0.16882946180112768,     -0.038586080548729085,
                               0.00041257046435469967, 0.021372216801228298,    -0.008151675612793929,
                               -0.0093846984182122759, 0.00043825126945147889,  0.00099059686824377207};
constexpr double SYMLET_7[] = {
    0.00054458522362217155,  6.7622509971109379e-05, -0.0061103213170447725, -0.0010361819602731374,
    0.032475462301481642,    0.0082094347081706313,  -0.11277948615997867,   -0.050120107506458782,
    0.33353566921457822,     0.54412576536872959,    0.27140650555139839,    -0.025128270170304272,
    -0.022620386152108304,   0.035351783781144071,   0.004076408391889161,   -0.014393115971929217,
    -0.00056876765533680183, 0.003247864189340895,   4.0330601498960776e-05, -0.00032479494839088004};
constexpr double COIFLET_1[] = {0.027280729568981778, -0.089780729568981782, -0.054561459137963557,
                                0.42956145913796356,  0.52728072956898175,   0.16021927043101822};
constexpr double COIFLET_2[] = {0.011587596738716868,  -0.029320137983468563,  -0.047639590311008131,
                                0.27302104653476661,   0.57468239385686382,    0.2948671936956192,
                                -0.054085607091711431, -0.042026480460771606,  0.016744410163279506,
                                0.0039678836129620121, -0.0012892033561406595, -0.00050950539910764412};
constexpr double COIFLET_3[] = {-0.0026824186709220686, 0.0055031267078313852,  0.016583560479170346,
                                -0.046507764478726975,  -0.043220763560211914,  0.28650333527364746,
                                0.56128525687033004,    0.30298357177282415,    -0.050770140754888865,
                                -0.058196250761585529,  0.024434094321166958,   0.011229240962037866,
                                -0.0063696010110488232, -0.0018204589155662422, 0.00079020510095759394,
                                0.00032966517379318301, -5.019277455327665e-05, -2.4465734255308132e-05};
constexpr double COIFLET_4[] = {
    0.00063096121143094684, -0.0011522251437699736, -0.0051945251634703234,  0.011362461483264823,
    0.018867238569563061,   -0.057464241901927185,  -0.039652652962449138,   0.29366740501610067,
    0.55312645503954927,    0.30715730966788568,    -0.04711273752389572,    -0.068038114678020567,
    0.027813636958469511,   0.017735831422703085,   -0.010756316155087249,   -0.004001010844950535,
    0.0026526649135304998,  0.00089559392769528439, -0.00041650019509417089, -0.00018382961671362539,
    4.4080226615972073e-05, 2.2082846912308329e-05, -2.3049191626765045e-06, -1.2621791799946222e-06};
constexpr double COIFLET_5[] = {
    -0.00014996452283459502, 0.00025355275235803345,  0.0015402867259952224,  -0.0029410781640356932,
    -0.0071641123494100532,  0.016552183306492888,    0.019919017197984321,   -0.064998378254723252,
    -0.036802553474468737,   0.29809590145871917,     0.54750827135403668,    0.30970025907842036,
    -0.043867314828236158,   -0.074644420132839714,   0.029194692775280737,   0.023104572277066842,
    -0.013971292686382007,   -0.0064767497515058614,  0.0047811167991306577,  0.001719383484385504,
    -0.0011749479344135376,  -0.00045082224006962361, 0.00021344579750862916, 9.9246911398735336e-05,
    -2.9146843886221307e-05, -1.5040317981976858e-05, 2.6168096600131184e-06, 1.4575029213551632e-06,
    -1.1481996499029798e-07, -6.791060677322356e-08};
constexpr double VAIDYANATHAN[] = {
    -4.4481342763084303e-05, 0.00024298445019746656, -0.00032099580426149911, -0.00066814317245018667,
    0.0020108946925790089,   0.00050072883111028702, -0.0062501899599119136,  0.0022301066402376497,
    0.013920963236151397,    -0.010502973808539448,  -0.025081359386465562,   0.027395168823220437,
    0.039521982519817443,    -0.054949091827080472,  -0.059346683272725263,   0.093318056712516362,
    0.095518973034568966,    -0.1374972471904547,    -0.18631896164664233,    0.14256132676079492,
    0.44943781956480267,     0.40502920382796798,    0.17690689451801725,     0.032385019723746793};

// Splines, and their duals: these sum to 2.
constexpr double SPLINE_1[] = {0.5, 0.5};
constexpr double DUAL_1_1[] = {1.0, 1.0};
constexpr double DUAL_1_3[] = {-0.125, 0.125, 1.0, 1.0, 0.125, -0.125};
constexpr double DUAL_1_5[] = {0.0234375, -0.0234375, -0.171875, 0.171875,   1.0,
                               1.0,       0.171875,   -0.171875, -0.0234375, 0.0234375};
constexpr double SPLINE_2[] = {0.25, 0.5, 0.25};
constexpr double DUAL_2_2[] = {-0.25, 0.5, 1.5, 0.5, -0.25};
constexpr double DUAL_2_4[] = {0.046875, -0.09375, -0.25, 0.59375, 1.40625, 0.59375, -0.25, -0.09375, 0.046875};
constexpr double DUAL_2_6[] = {-0.009765625, 0.01953125, 0.06640625,  -0.15234375,  -0.240234375,
                               0.6328125,    1.3671875,  0.6328125,   -0.240234375, -0.15234375,
                               0.06640625,   0.01953125, -0.009765625};
constexpr double DUAL_2_8[] = {0.00213623046875, -0.0042724609375, -0.018310546875, 0.0408935546875, 0.074951171875,
                               -0.1907958984375, -0.231689453125,  0.6541748046875, 1.3458251953125, 0.6541748046875,
                               -0.231689453125,  -0.1907958984375, 0.074951171875,  0.0408935546875, -0.018310546875,
                               -0.0042724609375, 0.00213623046875};
constexpr double SPLINE_3[] = {0.125, 0.375, 0.375, 0.125};
constexpr double DUAL_3_1[] = {-0.5, 1.5, 1.5, -0.5};
constexpr double DUAL_3_3[] = {0.09375, -0.28125, -0.21875, 1.40625, 1.40625, -0.21875, -0.28125, 0.09375};
constexpr double DUAL_3_5[] = {-0.01953125, 0.05859375, 0.07421875,  -0.37890625, -0.1015625, 1.3671875,
                               1.3671875,   -0.1015625, -0.37890625, 0.07421875,  0.05859375, -0.01953125};
constexpr double DUAL_3_7[] = {0.0042724609375, -0.0128173828125, -0.0238037109375, 0.1055908203125,
                               0.0443115234375, -0.4259033203125, -0.0374755859375, 1.3458251953125,
                               1.3458251953125, -0.0374755859375, -0.4259033203125, 0.0443115234375,
                               0.1055908203125, -0.0238037109375, -0.0128173828125, 0.0042724609375};
constexpr double DUAL_3_9[] = {-0.0009613037109375, 0.0028839111328125, 0.0071563720703125, -0.0291595458984375,
                               -0.01995849609375,   0.14019775390625,   0.01739501953125,   -0.45281982421875,
                               0.002899169921875,   1.332366943359375,  1.332366943359375,  0.002899169921875,
                               -0.45281982421875,   0.01739501953125,   0.14019775390625,   -0.01995849609375,
                               -0.0291595458984375, 0.0071563720703125, 0.0028839111328125, -0.0009613037109375};

// The four filters of a wavelet.
template <int low, int high>
struct Taps {
    float decLow[low], decHigh[high], recLow[high], recHigh[low];
};

constexpr double signOf(int j) {
    return j % 2 == 0 ? 1 : -1;
}

// From the low-pass filters, decomposition's times `decScale` and reconstruction's times `recScale`.
template <int low, int high>
constexpr Taps<low, high> makeTaps(const double (&dec)[low], double decScale, const double (&rec)[high],
                                   double recScale) {
    Taps<low, high> taps = {};
    for (int j = 0; j < low; ++j) {
        taps.decLow[j] = static_cast<float>(dec[j] * decScale);
        taps.recHigh[j] = static_cast<float>(-signOf(j) * 2 * dec[j] * decScale);
    }
    for (int j = 0; j < high; ++j) {
        taps.recLow[j] = static_cast<float>(rec[j] * recScale);
        taps.decHigh[j] = static_cast<float>(signOf(j) * rec[j] * recScale / 2);
    }
    return taps;
}

// Reconstruction's low-pass filter is decomposition's, reversed.
template <int n>
constexpr Taps<n, n> makeOrthogonal(const double (&dec)[n]) {
    double reversed[n] = {};
    for (int j = 0; j < n; ++j)
        reversed[j] = dec[n - 1 - j];
    return makeTaps(dec, 1, reversed, 2);
}

template <const auto &taps>
struct Orthogonal {
    static constexpr auto all = makeOrthogonal(taps);
};
template <const auto &spline, const auto &dual>
struct Spline {
    static constexpr auto all = makeTaps(spline, 1, dual, 1);
};
template <const auto &spline, const auto &dual>
struct Dual {
    static constexpr auto all = makeTaps(dual, 0.5, spline, 2);
};

// The kernel's record points to filters that nobody writes.
template <int n>
constexpr MoxWtFilter filter(const float (&taps)[n], int offset, int symmetry) {
    return {const_cast<float *>(taps), n, offset, symmetry};
}
struct Numbers {
    int decLow, decHigh, recLow, recHigh;
};
template <class T>
constexpr MoxWtKernel kernel(int type, int par1, int par2, Numbers offsets, Numbers symmetry) {
    return {type,
            par1,
            par2,
            type <= MOX_WT_VAIDYANATHAN ? 0 : 1,
            filter(T::all.decLow, offsets.decLow, symmetry.decLow),
            filter(T::all.decHigh, offsets.decHigh, symmetry.decHigh),
            filter(T::all.recLow, offsets.recLow, symmetry.recLow),
            filter(T::all.recHigh, offsets.recHigh, symmetry.recHigh)};
}

// Symmetry: neither; both low-pass filters symmetric and both others antisymmetric; all symmetric.
constexpr Numbers NEITHER = {2, 2, 2, 2}, ODD = {0, 1, 0, 1}, EVEN = {0, 0, 0, 0};

const MoxWtKernel KERNELS[] = {
    kernel<Orthogonal<HAAR>>(MOX_WT_HAAR, 0, 0, {1, 1, 0, 0}, ODD),
    kernel<Orthogonal<HAAR>>(MOX_WT_DAUBECHIES, 1, 0, {1, 1, 0, 0}, ODD),
    kernel<Orthogonal<DAUBECHIES_2>>(MOX_WT_DAUBECHIES, 2, 0, {1, 3, 2, 0}, NEITHER),
    kernel<Orthogonal<DAUBECHIES_3>>(MOX_WT_DAUBECHIES, 3, 0, {1, 3, 4, 2}, NEITHER),
    kernel<Orthogonal<DAUBECHIES_4>>(MOX_WT_DAUBECHIES, 4, 0, {1, 5, 6, 2}, NEITHER),
    kernel<Orthogonal<DAUBECHIES_5>>(MOX_WT_DAUBECHIES, 5, 0, {2, 8, 7, 1}, NEITHER),
    kernel<Orthogonal<DAUBECHIES_6>>(MOX_WT_DAUBECHIES, 6, 0, {2, 10, 9, 1}, NEITHER),
    kernel<Orthogonal<DAUBECHIES_7>>(MOX_WT_DAUBECHIES, 7, 0, {2, 10, 11, 3}, NEITHER),
    kernel<Orthogonal<DAUBECHIES_8>>(MOX_WT_DAUBECHIES, 8, 0, {2, 12, 13, 3}, NEITHER),
    kernel<Orthogonal<DAUBECHIES_9>>(MOX_WT_DAUBECHIES, 9, 0, {3, 15, 14, 2}, NEITHER),
    kernel<Orthogonal<DAUBECHIES_10>>(MOX_WT_DAUBECHIES, 10, 0, {3, 17, 16, 2}, NEITHER),
    kernel<Orthogonal<SYMLET_1>>(MOX_WT_SYMLET, 1, 0, {3, 5, 4, 2}, NEITHER),
    kernel<Orthogonal<SYMLET_2>>(MOX_WT_SYMLET, 2, 0, {4, 4, 5, 5}, NEITHER),
    kernel<Orthogonal<SYMLET_3>>(MOX_WT_SYMLET, 3, 0, {5, 7, 6, 4}, NEITHER),
    kernel<Orthogonal<SYMLET_4>>(MOX_WT_SYMLET, 4, 0, {8, 6, 5, 7}, NEITHER),
    kernel<Orthogonal<SYMLET_5>>(MOX_WT_SYMLET, 5, 0, {8, 6, 7, 9}, NEITHER),
    kernel<Orthogonal<SYMLET_6>>(MOX_WT_SYMLET, 6, 0, {9, 9, 8, 8}, NEITHER),
    kernel<Orthogonal<SYMLET_7>>(MOX_WT_SYMLET, 7, 0, {9, 11, 10, 8}, NEITHER),
    kernel<Orthogonal<COIFLET_1>>(MOX_WT_COIFLET, 1, 0, {4, 2, 1, 3}, NEITHER),
    kernel<Orthogonal<COIFLET_2>>(MOX_WT_COIFLET, 2, 0, {4, 6, 7, 5}, NEITHER),
    kernel<Orthogonal<COIFLET_3>>(MOX_WT_COIFLET, 3, 0, {6, 10, 11, 7}, NEITHER),
    kernel<Orthogonal<COIFLET_4>>(MOX_WT_COIFLET, 4, 0, {8, 14, 15, 9}, NEITHER),
    kernel<Orthogonal<COIFLET_5>>(MOX_WT_COIFLET, 5, 0, {10, 18, 19, 11}, NEITHER),
    kernel<Orthogonal<VAIDYANATHAN>>(MOX_WT_VAIDYANATHAN, 0, 0, {20, 2, 3, 21}, NEITHER),
    kernel<Spline<SPLINE_1, DUAL_1_1>>(MOX_WT_BSPLINE, 1, 1, {0, 0, 1, 1}, ODD),
    kernel<Spline<SPLINE_1, DUAL_1_3>>(MOX_WT_BSPLINE, 1, 3, {0, 2, 3, 1}, ODD),
    kernel<Spline<SPLINE_1, DUAL_1_5>>(MOX_WT_BSPLINE, 1, 5, {0, 4, 5, 1}, ODD),
    kernel<Spline<SPLINE_2, DUAL_2_2>>(MOX_WT_BSPLINE, 2, 2, {1, 1, 2, 2}, EVEN),
    kernel<Spline<SPLINE_2, DUAL_2_4>>(MOX_WT_BSPLINE, 2, 4, {1, 3, 4, 2}, EVEN),
    kernel<Spline<SPLINE_2, DUAL_2_6>>(MOX_WT_BSPLINE, 2, 6, {1, 5, 6, 2}, EVEN),
    kernel<Spline<SPLINE_2, DUAL_2_8>>(MOX_WT_BSPLINE, 2, 8, {1, 7, 8, 2}, EVEN),
    kernel<Spline<SPLINE_3, DUAL_3_1>>(MOX_WT_BSPLINE, 3, 1, {1, 1, 2, 2}, ODD),
    kernel<Spline<SPLINE_3, DUAL_3_3>>(MOX_WT_BSPLINE, 3, 3, {1, 3, 4, 2}, ODD),
    kernel<Spline<SPLINE_3, DUAL_3_5>>(MOX_WT_BSPLINE, 3, 5, {1, 5, 6, 2}, ODD),
    kernel<Spline<SPLINE_3, DUAL_3_7>>(MOX_WT_BSPLINE, 3, 7, {1, 7, 8, 2}, ODD),
    kernel<Spline<SPLINE_3, DUAL_3_9>>(MOX_WT_BSPLINE, 3, 9, {1, 9, 10, 2}, ODD),
    kernel<Dual<SPLINE_1, DUAL_1_1>>(MOX_WT_BSPLINE_DUAL, 1, 1, {0, 0, 1, 1}, ODD),
    kernel<Dual<SPLINE_1, DUAL_1_3>>(MOX_WT_BSPLINE_DUAL, 1, 3, {2, 0, 1, 3}, ODD),
    kernel<Dual<SPLINE_1, DUAL_1_5>>(MOX_WT_BSPLINE_DUAL, 1, 5, {4, 0, 1, 5}, ODD),
    kernel<Dual<SPLINE_2, DUAL_2_2>>(MOX_WT_BSPLINE_DUAL, 2, 2, {1, 1, 2, 2}, EVEN),
    kernel<Dual<SPLINE_2, DUAL_2_4>>(MOX_WT_BSPLINE_DUAL, 2, 4, {3, 1, 2, 4}, EVEN),
    kernel<Dual<SPLINE_2, DUAL_2_6>>(MOX_WT_BSPLINE_DUAL, 2, 6, {5, 1, 2, 6}, EVEN),
    kernel<Dual<SPLINE_2, DUAL_2_8>>(MOX_WT_BSPLINE_DUAL, 2, 8, {7, 1, 2, 8}, EVEN),
    kernel<Dual<SPLINE_3, DUAL_3_1>>(MOX_WT_BSPLINE_DUAL, 3, 1, {1, 1, 2, 2}, ODD),
    kernel<Dual<SPLINE_3, DUAL_3_3>>(MOX_WT_BSPLINE_DUAL, 3, 3, {3, 1, 2, 4}, ODD),
    kernel<Dual<SPLINE_3, DUAL_3_5>>(MOX_WT_BSPLINE_DUAL, 3, 5, {5, 1, 2, 6}, ODD),
    kernel<Dual<SPLINE_3, DUAL_3_7>>(MOX_WT_BSPLINE_DUAL, 3, 7, {7, 1, 2, 8}, ODD),
    kernel<Dual<SPLINE_3, DUAL_3_9>>(MOX_WT_BSPLINE_DUAL, 3, 9, {9, 1, 2, 10}, ODD),
    kernel<Spline<SPLINE_2, DUAL_2_2>>(MOX_WT_53, 0, 0, {1, 1, 2, 2}, EVEN),
    kernel<Spline<SPLINE_3, DUAL_3_3>>(MOX_WT_97, 0, 0, {1, 3, 4, 2}, ODD),
};

bool usesPar2(int type) {
    return type == MOX_WT_BSPLINE || type == MOX_WT_BSPLINE_DUAL;
}
bool usesPar1(int type) {
    return type == MOX_WT_DAUBECHIES || type == MOX_WT_SYMLET || type == MOX_WT_COIFLET || usesPar2(type);
}

}  // namespace

const char *ownFindWavelet(int type, int par1, int par2, const MoxWtKernel **found) {
    if (type < MOX_WT_HAAR || type > MOX_WT_97) return "Bad wtType value.";
    const char *fault = "Bad par1   value.";
    for (const MoxWtKernel &kernel : KERNELS) {
        if (kernel.wtType != type || (usesPar1(type) && kernel.par1 != par1)) continue;
        fault = "Bad par2   value.";
        if (usesPar2(type) && kernel.par2 != par2) continue;
        *found = &kernel;
        return nullptr;
    }
    return fault;
}
