// SPDX-License-Identifier: MIT
#include "ZRKit/Values/ZRRegex.h"

#include "examples/kit/Example.h"

using namespace Qt::StringLiterals;

EXAMPLE(ZRRegex) {
    // regexWithPattern: a wrapper, from the cache where it is there
    const ZRRegex version =
        ZRRegex::regexWithPattern(u"(?<major>\\d+) \\. (?<minor>\\d+) (-(?<tag>\\w+))?"_s, 19, true);
    expect(version == ZRRegex::regexWithPattern(version.pattern(), 19, true));
    expect(version.options() == ZRRegex::DefaultOptions);

    // initWithPattern: a new one; in the default options white space means nothing
    expect(ZRRegex(u"a b"_s).allStringMatchesinString(u"ab AB"_s) == QVariantList{u"ab"_s, u"AB"_s});
    expect(ZRRegex(u"a b"_s, 0).allStringMatchesinString(u"a b ab"_s) == QVariantList{u"a b"_s});

    // groupNameMappings and regex: which group a name stands for, and what the engine was given
    expect(version.groupNameMappings() == QVariantMap{{u"major"_s, 1}, {u"minor"_s, 2}, {u"tag"_s, 4}});
    expect(version.regex().pattern() == u"(\\d+) \\. (\\d+) (-(\\w+))?"_s);
    expect(!ZRRegex(u"\\d+"_s).groupNameMappings());

    // A pattern that can't be compiled makes a wrapper that finds nothing, and a line in the log.
    const ZRRegex broken(u"("_s);
    expect(broken.regex().isNil());
    expect(!broken.allStringMatchesinString(u"("_s));

    // allStringMatchesinString: the whole matches
    expect(version.allStringMatchesinString(u"1.2, 10.0-beta"_s) == QVariantList{u"1.2"_s, u"10.0-beta"_s});

    // enumerateMatchesInString, and what a match answers
    version.enumerateMatchesInString(u"from 1.2 to 10.0-beta"_s, [](const ZRRegexMatch &match, bool *stop) {
        expect(match.stringValue() == u"1.2"_s);
        expect(match.stringForGroupName(u"major"_s) == u"1"_s);
        expect(match.objectForKeyedSubscript(u"minor"_s) == u"2"_s);
        expect(match[u"minor"_s] == u"2"_s);
        expect(match[u"tag"_s].isEmpty() && !match[u"tag"_s].isNull()); // the group took no part
        expect(match[u"patch"_s].isNull());                             // there is no such group
        expect(match.text() == u"from 1.2 to 10.0-beta"_s);
        expect(match.match().range() == NSRange{5, 3});
        *stop = true;
    });

    // With matching options: only at the text's beginning
    int found = 0;
    version.enumerateMatchesInString(u"from 1.2"_s, NSMatchingAnchored,
                                     [&](const ZRRegexMatch &, bool *) { ++found; });
    expect(found == 0);
}
