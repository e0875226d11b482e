// SPDX-License-Identifier: MIT
// Runs in a loaded page whose own scripts are off. The value of this file is a function of one request; what it
// returns goes to PagePreparation.cpp as JSON.
(function (request) {
    'use strict';

    // Elements with a name or an id shadow members of documents and forms, so these are taken from the prototypes.
    const getter = (prototype, name) => Object.getOwnPropertyDescriptor(prototype, name).get;
    const member = (prototype, name) => getter(prototype, name).call(document);
    const select = (scope, selector) =>
        (scope === document ? Document : DocumentFragment).prototype.querySelectorAll.call(scope, selector);
    const attribute = (element, name) => Element.prototype.getAttribute.call(element, name);

    const shadowGetter = getter(Element.prototype, 'shadowRoot');
    const styleGetters = [HTMLElement, SVGElement, MathMLElement].map((kind) => [kind, getter(kind.prototype, 'style')]);
    /// The style attribute as an object; undefined where elements have none.
    const styleOf = (element) => styleGetters.find(([kind]) => element instanceof kind)?.[1].call(element);

    const root = member(Document.prototype, 'documentElement');
    const body = member(Document.prototype, 'body');
    const viewport = { width: innerWidth, height: innerHeight };
    const kept = Symbol.for('page preparation');

    // The document object may be used for another document.
    if (request.step === 'forget') {
        delete globalThis[kept];
        document.adoptedStyleSheets = [];
        return {};
    }

    // Changes to sheets show, and are told of, when the layout is asked for.
    if (request.step === 'settle')
        return { width: root.offsetWidth, loading: member(Document.prototype, 'fonts').status === 'loading' };

    if (request.step === 'assign') {
        for (const [i, text] of request.texts.entries()) {
            const [element, name] = globalThis[kept][i];
            // A style attribute that the document's policy forbids to be set anew is changed as an object.
            if (name === 'style')
                styleOf(element).cssText = text;
            else
                Element.prototype.setAttribute.call(element, name, text);
        }
        return {};
    }

    // --- What there is

    const everything = select(document, '*');
    const trees = [document];
    for (const element of everything) {
        if (shadowGetter.call(element))
            trees.push(element.shadowRoot);
    }
    // Trees inside trees: the list grows while it is walked.
    for (let i = 1; i < trees.length; ++i) {
        for (const element of select(trees[i], '*')) {
            if (shadowGetter.call(element))
                trees.push(element.shadowRoot);
        }
    }

    if (request.showSkipped) {
        for (const tree of trees) {
            for (const element of select(tree, '*')) {
                if (getComputedStyle(element).contentVisibility === 'auto')
                    styleOf(element).setProperty('content-visibility', 'visible', 'important');
            }
        }
    }

    // No frames are drawn while a page is loaded and printed, so animations stand at their beginnings. Those that
    // end are shown as they end; those that follow the scrolling stand where they should.
    for (const animation of Document.prototype.getAnimations.call(document)) {
        if (animation.timeline === member(Document.prototype, 'timeline') &&
            animation.effect.getComputedTiming().endTime !== Infinity)
            animation.finish();
    }

    const scroller = member(Document.prototype, 'scrollingElement');
    if (!scroller && !request.size)
        return { unmeasured: true };
    const size = request.size || { width: scroller.scrollWidth, height: scroller.scrollHeight };
    const wide = size.width > viewport.width;
    const tall = size.height > viewport.height;

    const viewportUnit = /\d(?:[sld]?v(?:[hwib]|min|max)|cq(?:[hwib]|min|max))\b/i;
    const sized = wide ? /height|width|orientation|aspect-ratio/i : /height|orientation|aspect-ratio/i;
    const depends = (condition) => sized.test(condition) || viewportUnit.test(condition);

    if (!request.sheetsKnown) {
        let inline = '';
        for (const element of select(document, 'style'))
            inline += element.textContent + '\n';
        const styles = member(Document.prototype, 'styleSheets');
        let elsewhere = trees.length > 1 || /@import/i.test(inline);
        for (let i = 0; i < styles.length && !elsewhere; ++i)
            elsewhere = styles[i].href !== null;
        if (elsewhere || /content-visibility|@page[^}]*!\s*important|\d\s*cq/i.test(inline) ||
            viewportUnit.test(inline) || (/@media|\bmedia\(/i.test(inline) && sized.test(inline)))
            return { sheets: true };
    }

    // --- What depends on the viewport, and is not in a style sheet

    const elements = globalThis[kept] = [];
    const texts = [];
    if (tall || wide) {
        const keep = (element, name) => {
            const text = attribute(element, name);
            if (text && viewportUnit.test(text)) {
                elements.push([element, name]);
                texts.push(text);
            }
        };
        const lengths = ['width', 'height', 'x', 'y', 'dx', 'dy', 'x1', 'y1', 'x2', 'y2', 'cx', 'cy', 'r', 'rx', 'ry',
            'fx', 'fy', 'fr', 'refX', 'refY', 'markerWidth', 'markerHeight', 'startOffset', 'textLength', 'font-size',
            'stroke-width', 'stroke-dasharray', 'stroke-dashoffset', 'letter-spacing', 'word-spacing', 'baseline-shift'];
        const drawn = lengths.map((name) => `[${name}*=v i],[${name}*=cq i]`).join();
        for (const tree of trees) {
            for (const element of select(tree, '[style*=v i],[style*=cq i]')) {
                if (styleOf(element)?.length)
                    keep(element, 'style');
            }
            if (select(tree, 'svg').length || root instanceof SVGElement) {
                for (const element of select(tree, drawn)) {
                    if (element instanceof SVGElement)
                        lengths.forEach((name) => keep(element, name));
                }
            }
            for (const element of select(tree, 'img[sizes],source[sizes]'))
                keep(element, 'sizes');
            for (const element of select(tree, 'source[media]')) {
                const condition = attribute(element, 'media');
                if (depends(condition))
                    Element.prototype.setAttribute.call(element, 'media',
                        matchMedia(condition).matches ? 'all' : 'not all');
            }
            for (const sheet of tree === document ? member(Document.prototype, 'styleSheets') : tree.styleSheets) {
                if (sheet.media.length && depends(sheet.media.mediaText))
                    sheet.media.mediaText = matchMedia(sheet.media.mediaText).matches ? 'all' : 'not all';
            }
        }
    }
    const outcomes = (request.conditions || []).map((condition) => {
        const query = matchMedia(condition);
        return (query.media === 'not all' ? matchMedia(`(${condition})`) : query).matches;
    });
    const vertical = getComputedStyle(root).writingMode !== 'horizontal-tb';
    const result = { viewport, size, vertical, texts, outcomes };

    // --- The root: one piece, which the print does not break, as large as the viewport, which it then is to all boxes

    if (root instanceof SVGSVGElement) {
        const box = root.getBoundingClientRect();
        for (const [name, value] of [['width', box.width], ['height', box.height], ['page', 'auto']])
            styleOf(root).setProperty(name, typeof value === 'number' ? `${value}px` : value, 'important');
        return result;
    }
    if (!styleOf(root))
        return result;

    const styles = getComputedStyle(root);
    const inner = body ? getComputedStyle(body) : null;
    const isLeftToRight = (style) => style.direction === 'ltr' && style.writingMode === 'horizontal-tb';
    const number = (text) => parseFloat(text) || 0;
    const percent = (element, name) => String(element.computedStyleMap().get(name)).includes('%');

    // The document may begin left of the viewport.
    let left = 0;
    if (wide && !(isLeftToRight(styles) && (!inner || isLeftToRight(inner)))) {
        scrollTo({ left: -size.width, behavior: 'instant' });
        left = -Math.round(scrollX);
        scrollTo({ left: 0, top: 0, behavior: 'instant' });
    }

    const zoom = root.currentCSSZoom || 1;
    const frame = root.getBoundingClientRect();
    const inside = body ? body.getBoundingClientRect() : null;
    const borders = ['Top', 'Right', 'Bottom', 'Left'].map((side) => number(styles[`border${side}Width`]) * zoom);
    const definite = styles.height !== 'auto' && String(root.computedStyleMap().get('height')) !== 'auto';

    const rootStyle = [];
    const bodyStyle = [];
    const put = (element, list) => {
        for (const [name, value] of list)
            styleOf(element).setProperty(name, value, 'important');
    };
    const px = (value, z) => `${value / z}px`;

    // Boxes that the print would place elsewhere: the body's own place is written down, the root loses its own.
    const plain = isLeftToRight(styles) && (!inner || isLeftToRight(inner)) && /^(block|flow-root)$/.test(styles.display) &&
        frame.left === 0 && frame.top === 0 && frame.width === viewport.width && !borders.some(Boolean);
    const isStretched = /flex|grid/.test(styles.display);
    const isVertical = styles.writingMode !== 'horizontal-tb' || (inner && inner.writingMode !== 'horizontal-tb');
    if (!plain && body) {
        const z = body.currentCSSZoom || 1;
        rootStyle.push(['display', 'block'], ['padding', '0'], ['border', 'none'], ['direction', 'ltr'],
            ['writing-mode', 'horizontal-tb'], ['float', 'none']);
        if (!/absolute|fixed/.test(inner.position)) {
            bodyStyle.push(['margin-top', px(inside.top, z)], ['margin-left', px(inside.left, z)], ['margin-right', '0'],
                ['width', px(inside.width, z)], ['min-width', '0'], ['max-width', 'none'], ['box-sizing', 'border-box']);
            if (isStretched || isVertical)
                bodyStyle.push(['height', px(inside.height, z)], ['min-height', '0'], ['max-height', 'none']);
        }
        bodyStyle.push(['direction', inner.direction], ['writing-mode', inner.writingMode]);
        // A body with other lines than its root's keeps its children's margins inside.
        if (isVertical) {
            const edge = inner.writingMode.endsWith('lr') ? 'left' : 'right';
            for (let child = body.firstElementChild; child; child = child.firstElementChild) {
                if (!styleOf(child) || child.getBoundingClientRect()[edge] !== inside[edge])
                    break;
                styleOf(child).setProperty('margin-block-start', '0', 'important');
            }
        }
    }
    if (body && document.compatMode === 'CSS1Compat' && (plain || !(isStretched || isVertical))) {
        const z = body.currentCSSZoom || 1;
        for (const name of ['height', 'min-height', 'max-height']) {
            // What was a share of nothing has to stay so; a share of something keeps its value.
            if (!percent(body, name))
                continue;
            if (!definite)
                bodyStyle.push([name, name === 'height' ? 'auto' : name === 'min-height' ? '0' : 'none']);
            else if (name === 'height')
                bodyStyle.push(['height', px(inside.height, z)], ['box-sizing', 'border-box']);
            else
                bodyStyle.push([name, px(parseFloat(body.computedStyleMap().get(name).value) / 100 *
                    (frame.height - borders[0] - borders[2] - (number(styles.paddingTop) + number(styles.paddingBottom)) * zoom), z)]);
        }
    }
    rootStyle.push(['contain', 'layout size'], ['box-sizing', 'border-box'], ['width', px(viewport.width, zoom)],
        ['height', px(viewport.height, zoom)], ['min-width', '0'], ['max-width', 'none'], ['min-height', '0'],
        ['max-height', 'none'], ['margin', '0'], ['margin-left', px(left, zoom)], ['overflow', 'visible'],
        ['transition', 'none']);
    if (request.containerUnits && styles.containerType === 'normal')
        rootStyle.push(['container-type', 'size']);
    if (body) {
        bodyStyle.push(['transition', 'none']);
        // It was the viewport's.
        if (styles.overflowX === 'visible' && styles.overflowY === 'visible')
            bodyStyle.push(['overflow', 'visible']);
    }

    // --- The background: the root's box is no longer what pictures are sized and placed by

    let sheet = '@page { margin: 0 !important; size: auto !important; page-orientation: upright !important;' +
        ' padding: 0 !important; border: none !important; background: none !important;';
    for (const box of ['top-left-corner', 'top-left', 'top-center', 'top-right', 'top-right-corner', 'left-top',
        'left-middle', 'left-bottom', 'right-top', 'right-middle', 'right-bottom', 'bottom-left-corner', 'bottom-left',
        'bottom-center', 'bottom-right', 'bottom-right-corner'])
        sheet += ` @${box} { content: none !important; }`;
    sheet += ' }';

    const transparent = 'rgba(0, 0, 0, 0)';
    const hasBackground = (style) => style.backgroundImage !== 'none' || style.backgroundColor !== transparent;
    const isBodys = !hasBackground(styles) && inner && hasBackground(inner);
    const source = isBodys ? inner : styles;
    if (isBodys) {
        rootStyle.push(['background', 'none'], ['background-color', source.backgroundColor]);
        bodyStyle.push(['background', 'none']);
    }
    const hasBorder = borders.some(Boolean);
    if (source.backgroundImage !== 'none' || hasBorder) {
        const free = (name) => ['none', 'normal'].includes(getComputedStyle(root, name).content);
        const names = ['::before', '::after'].filter(free);
        const cover = (z, more) => ['all: initial', 'content: ""', 'display: block', 'position: absolute',
            `z-index: ${z}`, 'box-sizing: border-box', 'direction: ltr', ...more].map((rule) => `${rule} !important; `).join('');
        if (source.backgroundImage !== 'none' && names.length) {
            const layers = (text) => text.split(',').length;
            const area = {
                top: frame.top + borders[0], left: left + frame.left + borders[3],
                right: size.width - (left + frame.right - borders[1]), bottom: size.height - (frame.bottom - borders[2]),
            };
            const paddings = ['Top', 'Right', 'Bottom', 'Left'].map((side) => number(styles[`padding${side}`]) * zoom);
            const edges = [area.top, area.right, area.bottom, area.left];
            // Each layer names the box that it is placed in; the cover's content box stands for it. One box does for
            // all layers, as hardly any root has layers placed in different ones.
            const origin = source.backgroundOrigin.split(',')[0].trim();
            const place = edges.map((edge, i) =>
                origin === 'border-box' ? edge - borders[i] : origin === 'content-box' ? edge + paddings[i] : edge);
            const origins = Array(layers(source.backgroundOrigin)).fill('content-box').join();
            const style = [`left: ${px(-left, zoom)}`, 'top: 0', `width: ${px(size.width, zoom)}`,
                `height: ${px(size.height, zoom)}`, `padding: ${place.map((edge) => px(Math.max(0, edge), zoom)).join(' ')}`,
                `background-image: ${source.backgroundImage}`, `background-position: ${source.backgroundPosition}`,
                `background-size: ${source.backgroundSize}`, `background-repeat: ${source.backgroundRepeat}`,
                `background-attachment: ${source.backgroundAttachment}`, `background-origin: ${origins}`,
                'background-clip: border-box'];
            if (source.backgroundBlendMode !== 'normal')
                style.push(`background-blend-mode: ${source.backgroundBlendMode}`, `background-color: ${source.backgroundColor}`);
            sheet += `:root${names.shift()} { ${cover(-2147483648, style)} }`;
            rootStyle.push(['background-image', 'none']);
        }
        if (hasBorder && names.length) {
            const style = [`left: ${px(frame.left, zoom)}`, `top: ${px(frame.top, zoom)}`,
                `width: ${px(frame.width, zoom)}`, `height: ${px(frame.height, zoom)}`];
            for (const side of ['top', 'right', 'bottom', 'left'])
                style.push(`border-${side}: ${styles[`border-${side}-width`]} ${styles[`border-${side}-style`]} ${styles[`border-${side}-color`]}`);
            for (const corner of ['top-left', 'top-right', 'bottom-right', 'bottom-left'])
                style.push(`border-${corner}-radius: ${styles[`border-${corner}-radius`]}`);
            style.push(`border-image: ${styles.borderImage}`);
            sheet += `:root${names.shift()} { ${cover(-2147483647, style)} }`;
        }
    }

    put(root, rootStyle);
    if (body)
        put(body, bodyStyle);
    const page = new CSSStyleSheet();
    page.replaceSync(sheet);
    document.adoptedStyleSheets = [...document.adoptedStyleSheets, page];
    return result;
})
