#include "AiFilter.h"

namespace {

template <std::size_t... I>
std::array<CBiquad, sizeof...(I)> MakeSections(double sampleRate, std::index_sequence<I...>) {
    return {CBiquad(sampleRate, filterParameters{LowPass2, 0.0, CZkmorvaAiFilter::kCornerHz,
                                                 CZkmorvaAiFilter::kDamping[I / 2]})...};
}

} // namespace

CZkmorvaAiFilter::CZkmorvaAiFilter(double sampleRate)
    : CSectionCascade(MakeSections(sampleRate, std::make_index_sequence<kSectionCount>{})) {}
