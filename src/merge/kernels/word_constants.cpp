// The constants of word_constants.h.
#include "merge/kernels/word_constants.h"

namespace q32::merge {

#define Q32_TIMES_8(word) word, word, word, word, word, word, word, word

template <int value>
alignas(64) const std::uint16_t WordConstant<value>::words[32] = {
    Q32_TIMES_8(std::uint16_t(value)), Q32_TIMES_8(std::uint16_t(value)),
    Q32_TIMES_8(std::uint16_t(value)), Q32_TIMES_8(std::uint16_t(value))};

#undef Q32_TIMES_8

template struct WordConstant<1>;
template struct WordConstant<128>;
template struct WordConstant<129>;
template struct WordConstant<256>;
template struct WordConstant<257>;
template struct WordConstant<-32640>;
template struct WordConstant<32641>;
template struct WordConstant<0xFFFF>;

} // namespace q32::merge
