#include "engine/build/LexicographerFiles.h"

namespace build {
namespace {

constexpr LexicographerFile kFiles[] = {
    {"adj.all", 'a', "all adjective clusters"},
    {"adj.pert", 'a', "relational adjectives (pertainyms)"},
    {"adv.all", 'r', "all adverbs"},
    {"noun.Tops", 'n', "unique beginner for nouns"},
    {"noun.act", 'n', "nouns denoting acts or actions"},
    {"noun.animal", 'n', "nouns denoting animals"},
    {"noun.artifact", 'n', "nouns denoting man-made objects"},
    {"noun.attribute", 'n', "nouns denoting attributes of people and objects"},
    {"noun.body", 'n', "nouns denoting body parts"},
    {"noun.cognition", 'n', "nouns denoting cognitive processes and contents"},
    {"noun.communication", 'n', "nouns denoting communicative processes and contents"},
    {"noun.event", 'n', "nouns denoting natural events"},
    {"noun.feeling", 'n', "nouns denoting feelings and emotions"},
    {"noun.food", 'n', "nouns denoting foods and drinks"},
    {"noun.group", 'n', "nouns denoting groupings of people or objects"},
    {"noun.location", 'n', "nouns denoting spatial position"},
    {"noun.motive", 'n', "nouns denoting goals"},
    {"noun.object", 'n', "nouns denoting natural objects (not man-made)"},
    {"noun.person", 'n', "nouns denoting people"},
    {"noun.phenomenon", 'n', "nouns denoting natural phenomena"},
    {"noun.plant", 'n', "nouns denoting plants"},
    {"noun.possession", 'n', "nouns denoting possession and transfer of possession"},
    {"noun.process", 'n', "nouns denoting natural processes"},
    {"noun.quantity", 'n', "nouns denoting quantities and units of measure"},
    {"noun.relation", 'n', "nouns denoting relations between people or things or ideas"},
    {"noun.shape", 'n', "nouns denoting two and three dimensional shapes"},
    {"noun.state", 'n', "nouns denoting stable states of affairs"},
    {"noun.substance", 'n', "nouns denoting substances"},
    {"noun.time", 'n', "nouns denoting time and temporal relations"},
    {"verb.body", 'v', "verbs of grooming, dressing and bodily care"},
    {"verb.change", 'v', "verbs of size, temperature change, intensifying, etc."},
    {"verb.cognition", 'v', "verbs of thinking, judging, analyzing, doubting"},
    {"verb.communication", 'v', "verbs of telling, asking, ordering, singing"},
    {"verb.competition", 'v', "verbs of fighting, athletic activities"},
    {"verb.consumption", 'v', "verbs of eating and drinking"},
    {"verb.contact", 'v', "verbs of touching, hitting, tying, digging"},
    {"verb.creation", 'v', "verbs of sewing, baking, painting, performing"},
    {"verb.emotion", 'v', "verbs of feeling"},
    {"verb.motion", 'v', "verbs of walking, flying, swimming"},
    {"verb.perception", 'v', "verbs of seeing, hearing, feeling"},
    {"verb.possession", 'v', "verbs of buying, selling, owning"},
    {"verb.social", 'v', "verbs of political and social activities and events"},
    {"verb.stative", 'v', "verbs of being, having, spatial relations"},
    {"verb.weather", 'v', "verbs of raining, snowing, thawing, thundering"},
    {"adj.ppl", 'a', "participial adjectives"},
};

}  // namespace

std::span<const LexicographerFile> lexicographerFiles() { return kFiles; }

}  // namespace build
