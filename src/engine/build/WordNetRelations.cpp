#include "engine/build/WordNetRelations.h"

#include "engine/Layout.h"

namespace build {
namespace {

// The library follows hyperonyms as relation 8 and hyponyms as relation 10;
// the numbers of the others are ours, kept dense around those two.
constexpr WordNetRelation kRelations[] = {
    {"!", 1, "near_antonym", "antonym"},
    {"&", 2, "near_synonym", "similar to"},
    {"^", 3, "also_see", "also see"},
    {"$", 4, "verb_group", "verb group"},
    {"=", 5, "attribute", "attribute"},
    {"+", 6, "derivation", "derivationally related form"},
    {"<", 7, "participle", "participle of verb"},
    {"@", layout::kHyperonym, "has_hyperonym", "hyperonym"},
    {"@i", 9, "has_instance_hyperonym", "instance hyperonym"},
    {"~", layout::kHyponym, "has_hyponym", "hyponym"},
    {"~i", 11, "has_instance_hyponym", "instance hyponym"},
    {"#m", 12, "has_holo_member", "member holonym"},
    {"#s", 13, "has_holo_madeof", "substance holonym"},
    {"#p", 14, "has_holo_part", "part holonym"},
    {"%m", 15, "has_mero_member", "member meronym"},
    {"%s", 16, "has_mero_madeof", "substance meronym"},
    {"%p", 17, "has_mero_part", "part meronym"},
    {"*", 18, "has_subevent", "entailment"},
    {">", 19, "causes", "cause"},
    {"\\", 20, "pertains_to", "pertainym"},
    {";c", 21, "category_domain", "topic domain"},
    {"-c", 22, "category_term", "topic domain member"},
    {";r", 23, "region_domain", "region domain"},
    {"-r", 24, "region_term", "region domain member"},
    {";u", 25, "usage_domain", "usage domain"},
    {"-u", 26, "usage_term", "usage domain member"},
};

}  // namespace

std::span<const WordNetRelation> wordNetRelations() { return kRelations; }

const WordNetRelation* wordNetRelation(std::string_view symbol) {
  for (const WordNetRelation& r : kRelations)
    if (r.symbol == symbol) return &r;
  return nullptr;
}

}  // namespace build
