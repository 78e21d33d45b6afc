(function () {
  // What a screen reader and a poor eye need of the page as it stands; gives its troubles, or "good".
  var troubles = [];

  function all(selector) {
    return Array.prototype.slice.call(document.querySelectorAll(selector));
  }

  function isShown(node) {
    return node.offsetWidth > 0 && node.offsetHeight > 0;
  }

  function tell(node, text) {
    troubles.push(node.tagName.toLowerCase() + (node.id ? '#' + node.id : '') + ' ' + text);
  }

  function named(id) {
    return Boolean(document.querySelector('[id="' + id + '"]'));
  }

  // Labels and references
  all('input, select, textarea').forEach(function (field) {
    if (!document.querySelector('label[for="' + field.id + '"]') && field.parentNode.tagName !== 'LABEL') {
      tell(field, 'has no label');
    }
  });
  all('[aria-describedby], [aria-labelledby]').forEach(function (node) {
    ['aria-describedby', 'aria-labelledby'].forEach(function (name) {
      (node.getAttribute(name) || '').split(/\s+/).forEach(function (id) {
        if (id && !named(id)) {
          tell(node, 'refers to ' + id + ', which is not there');
        }
      });
    });
  });
  var seen = {};
  all('[id]').forEach(function (node) {
    if (seen[node.id]) {
      tell(node, 'shares its id with another element');
    }
    seen[node.id] = true;
  });
  all('button, a').forEach(function (node) {
    if (isShown(node) && !node.textContent.replace(/\s/g, '')) {
      tell(node, 'says nothing');
    }
  });
  var said = {};
  all('button').filter(isShown).forEach(function (node) {
    if (said[node.textContent]) {
      tell(node, 'says the same as another button: ' + node.textContent);
    }
    said[node.textContent] = true;
  });

  // Language, landmarks, headings, a live region
  if (!document.documentElement.lang) {
    troubles.push('the page names no language');
  }
  ['header[role=banner]', 'main', 'nav[aria-label]', 'footer[role=contentinfo]', 'h1', '[role=status][aria-live]',
   '[aria-current=step]'].forEach(function (selector) {
    if (all(selector).length !== 1) {
      troubles.push(all(selector).length + ' elements are ' + selector);
    }
  });
  var level = 0;
  all('h1, h2, h3, h4').filter(isShown).forEach(function (heading) {
    var next = Number(heading.tagName.charAt(1));
    if (next > level + 1) {
      tell(heading, 'skips a level');
    }
    level = next;
  });
  all('main section').forEach(function (section) {
    if (!section.getAttribute('aria-labelledby')) {
      tell(section, 'has no name');
    }
  });

  // Contrast of every text with the ground that it stands on
  function channels(colour) {
    var parts = /rgba?\((\d+), (\d+), (\d+)(?:, ([\d.]+))?\)/.exec(colour);
    return parts && parts[4] !== '0' ? [Number(parts[1]), Number(parts[2]), Number(parts[3])] : null;
  }

  function luminance(colour) {
    var linear = colour.map(function (value) {
      var share = value / 255;
      return share <= 0.03928 ? share / 12.92 : Math.pow((share + 0.055) / 1.055, 2.4);
    });
    return 0.2126 * linear[0] + 0.7152 * linear[1] + 0.0722 * linear[2];
  }

  function ground(node) {
    var colour = null;
    while (node && node.nodeType === 1 && !colour) {
      colour = channels(window.getComputedStyle(node).backgroundColor);
      node = node.parentNode;
    }
    return colour || [255, 255, 255];
  }

  all('body *').filter(isShown).forEach(function (node) {
    var own = Array.prototype.some.call(node.childNodes, function (child) {
      return child.nodeType === 3 && child.data.replace(/\s/g, '') !== '';
    });
    var text = channels(window.getComputedStyle(node).color);
    var lighter;
    var darker;
    if (!own || !text || node.disabled) {
      return;
    }
    lighter = Math.max(luminance(text), luminance(ground(node)));
    darker = Math.min(luminance(text), luminance(ground(node)));
    if ((lighter + 0.05) / (darker + 0.05) < 4.5) {
      tell(node, 'has too little contrast: ' + text + ' on ' + ground(node));
    }
  });

  return troubles.join('; ') || 'good';
}())
