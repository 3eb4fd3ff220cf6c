import check from 'lucide-static/icons/check.svg';
import chevronDown from 'lucide-static/icons/chevron-down.svg';
import chevronLeft from 'lucide-static/icons/chevron-left.svg';
import chevronRight from 'lucide-static/icons/chevron-right.svg';
import copy from 'lucide-static/icons/copy.svg';
import save from 'lucide-static/icons/download.svg';
import externalLink from 'lucide-static/icons/external-link.svg';
import file from 'lucide-static/icons/file.svg';
import video from 'lucide-static/icons/film.svg';
import image from 'lucide-static/icons/image.svg';
import music from 'lucide-static/icons/music.svg';
import askAgain from 'lucide-static/icons/rotate-cw.svg';
import stop from 'lucide-static/icons/square.svg';
import speak from 'lucide-static/icons/volume-2.svg';
import close from 'lucide-static/icons/x.svg';

const SOURCES = {
    askAgain, check, chevronDown, chevronLeft, chevronRight, close, copy, externalLink, file, image, music,
    save, speak, stop, video,
};

export type IconName = keyof typeof SOURCES;

const ATTRIBUTES = {
    'class': 'icon', 'fill': 'none', 'stroke': 'currentColor', 'stroke-width': '1.75', 'stroke-linecap': 'round',
    'stroke-linejoin': 'round', 'aria-hidden': 'true',
};

const drawn = new Map<IconName, SVGElement>();

/** An outline that takes the colour of the text around it. */
export function icon(name: IconName): SVGElement {
    let source = drawn.get(name);
    if (!source) {
        // Our own build-time text, read by the XML parser, which runs nothing. White space between the
        // shapes goes, lest it ends up in copied text.
        const text = SOURCES[name].replace(/>\s+</g, '><');
        const { documentElement } = new DOMParser().parseFromString(text, 'image/svg+xml');
        source = document.importNode(documentElement as unknown as SVGElement, true);
        for (const [attribute, value] of Object.entries(ATTRIBUTES)) source.setAttribute(attribute, value);
        drawn.set(name, source);
    }
    return source.cloneNode(true) as SVGElement;
}
