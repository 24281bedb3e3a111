// Everything a client of the library includes.
#ifndef CORVID5_CORVID5_H
#define CORVID5_CORVID5_H

#include <corvid5/Platform.h>

#include <corvid5/CreateOptions.h>
#include <corvid5/FlmError.h>
#include <corvid5/PLXException.h>

#include <corvid5/CorvidEngine.h>
#include <corvid5/FxSession.h>
#include <corvid5/FxDatabase.h>

#include <corvid5/FlmPool.h>
#include <corvid5/FlmContext.h>
#include <corvid5/FlmRecord.h>
#include <corvid5/FlmCursor.h>
#include <corvid5/RecordText.h>
#include <corvid5/CriteriaText.h>

#include <corvid5/Concept.h>
#include <corvid5/ConceptVariant.h>
#include <corvid5/Examples.h>
#include <corvid5/ConceptLink.h>
#include <corvid5/EqLink.h>
#include <corvid5/ILIRecord.h>
#include <corvid5/ILIVariant.h>
#include <corvid5/TopConcept.h>
#include <corvid5/TopConceptVariant.h>
#include <corvid5/OntologyRecord.h>
#include <corvid5/Dictionary.h>
#include <corvid5/Relations.h>
#include <corvid5/LanguageWordNet.h>
#include <corvid5/Site.h>
#include <corvid5/Language.h>
#include <corvid5/Polylex.h>

#include <corvid5/PolylexBuilder.h>
#include <corvid5/PolylexSummary.h>

#endif
