// The page's own controls: what is shown, what is said, and where the focus goes.
(function () {
  'use strict';

  var STAGES = ['choose', 'requested', 'issued', 'installed'];
  var STAGE_NAMES = {choose: 'Choose', requested: 'Send', issued: 'Install', installed: 'Use'};
  var MONTHS = ['January', 'February', 'March', 'April', 'May', 'June', 'July', 'August', 'September', 'October',
                'November', 'December'];
  // The engine paints a message before it starts on work that makes the window stand still.
  var PAINT_MILLISECONDS = 80;

  var state = enrolment.freshState();
  var plugInVersion = '';
  var authorityFacts = null;
  var confirmAction = null;
  var confirmOpener = null;
  var busy = false;

  function byId(id) {
    return document.getElementById(id);
  }

  function element(name, text, className) {
    var made = document.createElement(name);
    if (text) {
      made.appendChild(document.createTextNode(text));
    }
    if (className) {
      made.className = className;
    }
    return made;
  }

  function clear(node) {
    while (node.firstChild) {
      node.removeChild(node.firstChild);
    }
  }

  function show(id, shown) {
    byId(id).hidden = !shown;
  }

  function chosen(name) {
    var checked = document.querySelector('input[name="' + name + '"]:checked');
    return checked ? checked.value : '';
  }

  function choose(name, value) {
    var input = byId(name + '-' + value);
    if (input) {
      input.checked = true;
    }
  }

  function trimmed(id) {
    return byId(id).value.replace(/^\s+|\s+$/g, '');
  }

  // "2026-11-21 04:34:12Z" as a person writes it.
  function day(text) {
    var parts = /^(\d{4})-(\d{2})-(\d{2})/.exec(text);
    return parts ? Number(parts[3]) + ' ' + MONTHS[Number(parts[2]) - 1] + ' ' + parts[1] : text;
  }

  function clock() {
    var now = new Date();
    return ('0' + now.getHours()).slice(-2) + ':' + ('0' + now.getMinutes()).slice(-2);
  }

  function commonName(record) {
    var parts = (record.subject || []).filter(function (part) { return part[0] === 'CN'; });
    return parts.length ? parts[0][1] : record.subjectDn;
  }

  // Digits of a serial number in groups, as people read them to each other.
  function grouped(serialHex) {
    return serialHex.toUpperCase().replace(/(..)(?=.)/g, '$1 ');
  }

  // What is said ----------------------------------------------------------------------------------------------------

  function say(text) {
    byId('status').textContent = text;
  }

  function note(text, code) {
    var item = element('li');
    show('history-none', false);
    item.appendChild(element('span', clock() + ' ', 'time'));
    item.appendChild(document.createTextNode(text.charAt(0).toUpperCase() + text.slice(1)));
    if (code !== undefined && code !== 0) {
      item.appendChild(element('span', ' (code ' + code + ')', 'code'));
    }
    byId('history').appendChild(item);
  }

  // A text in which names in backquotes are names of methods.
  function prose(name, text) {
    var made = element(name);
    text.split('`').forEach(function (piece, index) {
      if (piece) {
        made.appendChild(index % 2 ? element('code', piece) : document.createTextNode(piece));
      }
    });
    return made;
  }

  function pair(list, term, description) {
    list.appendChild(element('dt', term));
    list.appendChild(typeof description === 'string' ? prose('dd', description) : description);
  }

  function explanation(code) {
    var meaning = enrolment.explain(code);
    var list = element('dl', '', 'meaning');
    pair(list, 'Code', String(code === undefined ? 'none' : code));
    pair(list, 'What happened', meaning.happened + '.');
    pair(list, 'The usual cause', meaning.cause);
    pair(list, 'What to do', meaning.remedy);
    return list;
  }

  function bringIntoView(box) {
    box.scrollIntoView(true);
    window.scrollBy(0, -16);
  }

  // The result stands just before the section that it belongs to, and takes the focus. kind is "good", "note" or "bad";
  // the words say the same as the colour.
  function result(kind, title, before, content, code) {
    var box = byId('result');
    var heading = byId('result-title');
    var body = byId('result-body');
    box.className = 'result ' + kind;
    clear(heading);
    heading.appendChild(element('span', {good: 'Done: ', note: 'Note: ', bad: 'Not done: '}[kind], 'kind'));
    heading.appendChild(document.createTextNode(title));
    clear(body);
    content.forEach(function (node) { body.appendChild(node); });
    before.parentNode.insertBefore(box, before);
    box.hidden = false;
    say('');
    note(title, code);
    heading.focus();
    bringIntoView(box);
  }

  function hideResult() {
    show('result', false);
  }

  function failed(title, before, code) {
    result('bad', title, before, [explanation(code)], code);
  }

  function authorityFailed(title, before, status, value) {
    var text = status === 0 ? 'The authority does not answer. See that it still runs, and try again; nothing is lost.'
                            : (value.error || 'The authority answered with ' + status + '.');
    result('bad', title, before, [element('p', text)]);
  }

  // Work that stops the window: says so first, then starts.
  function work(text, action) {
    if (busy) {
      return;
    }
    busy = true;
    hideResult();
    say(text);
    window.setTimeout(function () {
      busy = false;
      action();
    }, PAINT_MILLISECONDS);
  }

  function confirmFirst(question, text, yes, no, before, action) {
    var box = byId('confirm');
    confirmAction = action;
    confirmOpener = document.activeElement;
    hideResult();
    byId('confirm-title').textContent = question;
    byId('confirm-text').textContent = text;
    byId('confirm-yes').textContent = yes;
    byId('confirm-no').textContent = no;
    before.parentNode.insertBefore(box, before);
    box.hidden = false;
    byId('confirm-no').focus();
    bringIntoView(box);
  }

  function answerConfirm(yes) {
    var action = confirmAction;
    show('confirm', false);
    confirmAction = null;
    if (yes) {
      action();
    } else if (confirmOpener) {
      confirmOpener.focus();
    }
  }

  // What is shown ---------------------------------------------------------------------------------------------------

  function renderSteps() {
    var at = STAGES.indexOf(state.stage);
    var items = byId('steps').children;
    var index;
    for (index = 0; index < items.length; index += 1) {
      items[index].className = index < at ? 'done' : (index === at ? 'current' : '');
      items[index].querySelector('.said').textContent = index < at ? ', done' : (index === at ? ', now' : '');
      if (index === at) {
        items[index].setAttribute('aria-current', 'step');
      } else {
        items[index].removeAttribute('aria-current');
      }
    }
    document.title = 'Step ' + (at + 1) + ' of 4, ' + STAGE_NAMES[state.stage] + ' - Enrol for a certificate';
  }

  function renderFacts(list, record) {
    clear(list);
    if (!record) {
      return;
    }
    if (record.order) {
      pair(list, 'Order number', record.order);
    }
    pair(list, 'Issued to', element('dd', record.subjectDn));
    pair(list, 'Issued by', element('dd', record.issuerDn));
    pair(list, 'Serial number', element('dd', grouped(record.serialHex)));
    pair(list, 'Valid', day(record.notBefore) + ' to ' + day(record.notAfter));
  }

  function link(path, text) {
    var made = element('a', text);
    made.setAttribute('href', path);
    return made;
  }

  function renderLinks(holder, record) {
    clear(holder);
    if (record && record.order) {
      holder.appendChild(link('/orders/' + record.order + '/certificate.txt', 'Certificate (base64 text)'));
      holder.appendChild(document.createTextNode(' '));
      holder.appendChild(link('/orders/' + record.order + '/chain.pem', 'Chain (PEM)'));
      holder.appendChild(document.createTextNode(' '));
      holder.appendChild(link('/orders/' + record.order + '/chain.p7b', 'Chain (PKCS#7)'));
    }
  }

  function render() {
    STAGES.forEach(function (stage) {
      show('stage-' + stage, plugInVersion !== '' && stage === state.stage);
    });
    renderSteps();
    byId('request-text').value = state.request;
    byId('requested-name').textContent = state.choices && state.choices.naming === 'authority'
      ? '; your name goes along with it, in the form' : ' and your name';
    renderFacts(byId('issued-facts'), state.record);
    renderLinks(byId('issued-links'), state.record);
    renderFacts(byId('installed-facts'), state.record);
  }

  function goTo(stage) {
    state.stage = stage;
    if (!enrolment.remember(state)) {
      note('The browser keeps nothing for this page; leave it open until the certificate is installed.');
    }
    render();
  }

  function renderPreview() {
    var text = enrolment.subjectText(readSubject());
    byId('preview').textContent = text || 'nobody yet';
    show('exportable-field', chosen('naming') === 'request');
  }

  // The form --------------------------------------------------------------------------------------------------------

  function readSubject() {
    return {
      C: trimmed('subject-C').toUpperCase(),
      O: trimmed('subject-O'),
      OU: trimmed('subject-OU'),
      CN: trimmed('subject-CN')
    };
  }

  function readChoices() {
    return {
      provider: byId('provider').value,
      bits: chosen('bits'),
      hash: chosen('hash'),
      purpose: chosen('purpose'),
      naming: chosen('naming'),
      exportable: chosen('exportable'),
      answer: chosen('answer'),
      subject: readSubject()
    };
  }

  function fillForm(choices) {
    if (!choices) {
      return;
    }
    byId('provider').value = choices.provider;
    if (byId('provider').selectedIndex < 0) {
      byId('provider').selectedIndex = 0;
    }
    ['bits', 'hash', 'purpose', 'naming', 'exportable', 'answer'].forEach(function (name) { choose(name, choices[name]); });
    ['C', 'O', 'OU', 'CN'].forEach(function (key) { byId('subject-' + key).value = choices.subject[key] || ''; });
    renderPreview();
  }

  function fieldError(inputId, errorId, text) {
    var input = byId(inputId);
    byId(errorId).textContent = text;
    show(errorId, text !== '');
    if (text) {
      input.setAttribute('aria-invalid', 'true');
    } else {
      input.removeAttribute('aria-invalid');
    }
  }

  // What is wrong with one part of the name, or an empty text.
  function nameTrouble(key, value) {
    if (key === 'CN' && value === '') {
      return 'Fill in your name.';
    }
    if (value.indexOf(',') >= 0) {
      return 'Leave the comma out: it would split the name in two. "Example Ltd, London" can be "Example Ltd London".';
    }
    if (value.indexOf('=') >= 0) {
      return 'Leave the equals sign out: programs would take what stands before it for the kind of name.';
    }
    if (/[\u0000-\u001f\u007f-\u009f]/.test(value)) {
      return 'A character here cannot be printed. Type the name anew in place of pasting it.';
    }
    if (key === 'C' && value !== '' && !/^[A-Z]{2}$/.test(value)) {
      return 'Give the country as two letters, such as DE or US.';
    }
    return '';
  }

  // Marks what is wrong in the form; gives the ids of the fields concerned.
  function formTroubles(choices) {
    var wrong = [];
    var chainTrouble = enrolment.chainNeedsExport(choices)
      ? 'With this provider a chain needs a key that may be exported. Allow that, or install your certificate alone.' : '';
    var providerTrouble = choices.provider ? '' : 'There is no provider to choose.';
    fieldError('provider', 'provider-error', providerTrouble);
    if (providerTrouble) {
      wrong.push(['provider', providerTrouble]);
    }
    ['CN', 'O', 'OU', 'C'].forEach(function (key) {
      var trouble = nameTrouble(key, choices.subject[key]);
      fieldError('subject-' + key, key + '-error', trouble);
      if (trouble) {
        wrong.push(['subject-' + key, trouble]);
      }
    });
    fieldError('answer-chain', 'answer-error', chainTrouble);
    if (chainTrouble) {
      wrong.push(['answer-chain', chainTrouble]);
    }
    return wrong;
  }

  function troubleList(wrong) {
    var list = element('ul');
    wrong.forEach(function (trouble) {
      var item = element('li');
      var jump = link('#' + trouble[0], trouble[1]);
      jump.onclick = function () {
        byId(trouble[0]).focus();
        return false;
      };
      item.appendChild(jump);
      list.appendChild(item);
    });
    return list;
  }

  function fillProviders() {
    var select = byId('provider');
    var names = enrolment.providers();
    clear(select);
    names.forEach(function (name) {
      var option = element('option', name);
      option.value = name;
      select.appendChild(option);
    });
    if (!names.length) {
      fieldError('provider', 'provider-error',
                 'The computer offers no provider that can make RSA keys. Install the software of your smart card, or ' +
                 'have the computer\'s own provider repaired, and load this page again.');
    }
  }

  // The steps -------------------------------------------------------------------------------------------------------

  function likelyCauses(codes) {
    var list = element('ul', '', 'likely');
    codes.forEach(function (code) {
      var meaning = enrolment.explain(code);
      var item = element('li');
      item.appendChild(prose('strong', meaning.happened + '.'));
      item.appendChild(document.createTextNode(' ' + meaning.cause + ' '));
      item.appendChild(element('span', '(code ' + code + ')', 'code'));
      item.appendChild(element('span', 'What helps: ' + meaning.remedy, 'remedy'));
      list.appendChild(item);
    });
    return list;
  }

  function makeRequest(event) {
    var choices = readChoices();
    var wrong = formTroubles(choices);
    event.preventDefault();
    if (wrong.length) {
      result('bad', wrong.length === 1 ? 'one answer needs another look' : wrong.length + ' answers need another look',
             byId('stage-choose'), [troubleList(wrong)]);
      return;
    }
    work('Making the key. This can take a minute, and the window may stand still meanwhile.', function () {
      var made = enrolment.makeRequest(choices);
      state.choices = choices;
      if (made.text) {
        state.request = made.text;
        state.record = null;
        goTo('requested');
        result('good', 'your key and your request are made', byId('stage-requested'),
               [element('p', 'A key of ' + choices.bits + ' bits now waits in "' + choices.provider + '".')]);
      } else if (made.code !== undefined) {
        failed('the hash could not be set, so no request was made', byId('stage-choose'), made.code);
      } else {
        result('bad', 'no request was made', byId('stage-choose'),
               [element('p', 'The plug-in gave no request, and a page cannot learn why. These are the likely causes:'),
                likelyCauses(made.likely)]);
      }
    });
  }

  function sendRequest() {
    work('Sending the request to the authority.', function () {
      enrolment.sendRequest(state.request, state.choices.subject, function (status, value) {
        if (status !== 201) {
          authorityFailed('the authority has issued no certificate', byId('stage-requested'), status, value);
          return;
        }
        state.record = value;
        enrolment.rememberOrder(value.order);
        goTo('issued');
        renderCertificates();
        result('good', 'the authority has issued your certificate', byId('stage-issued'),
               [element('p', 'Its order number is ' + value.order + '.')]);
      });
    });
  }

  function newRequestButton() {
    var holder = element('p', '', 'actions');
    var button = element('button', 'Make a new request with the same choices', 'primary');
    button.type = 'button';
    button.id = 'request-again';
    button.onclick = function () {
      hideResult();
      fillForm(state.choices);
      byId('choose-title').focus();
    };
    holder.appendChild(button);
    return holder;
  }

  function installed(choices, record) {
    state.choices = choices;
    state.record = record;
    state.request = '';
    goTo('installed');
    renderCertificates();
  }

  function installText(certificate, record, section, isChain) {
    work('Installing the certificate.', function () {
      var choices = state.choices || readChoices();
      var code = enrolment.install(choices, certificate, isChain);
      if (code === 0) {
        installed(choices, record);
        result('good', isChain && record ? 'the certificate is installed with its chain' : 'the certificate is installed',
               byId('stage-installed'),
               [element('p', 'Certificate and key are together in "' + choices.provider + '".')]);
      } else if (code === enrolment.CHAIN_NOT_STORED) {
        installed(choices, record);
        result('note', 'the certificate is installed, but not all of its chain', byId('stage-installed'),
               [explanation(code)], code);
      } else if (enrolment.isRequestKept(code)) {
        result('bad', 'the certificate was not installed', section,
               [explanation(code), element('p', 'The waiting request is untouched: you can try again.')], code);
      } else {
        state.choices = choices;
        state.record = null;
        state.request = '';
        goTo('choose');
        fillForm(choices);
        result('bad', 'the certificate was not installed', byId('stage-choose'),
               [explanation(code), newRequestButton()], code);
      }
    });
  }

  // The chosen answer to the order: the certificate, which is here, or the chain, which the authority has.
  function installIssued() {
    var section = byId('stage-issued');
    var record = state.record;
    if ((state.choices || readChoices()).answer !== 'chain') {
      installText(record.certificate, record, section, false);
      return;
    }
    work('Fetching the chain.', function () {
      enrolment.chain(record.order, function (status, text) {
        if (status !== 200) {
          authorityFailed('the chain was not fetched; the request still waits', section, status, {});
          return;
        }
        installText(text, record, section, true);
      });
    });
  }

  function installPasted(event) {
    var text = trimmed('pasted');
    event.preventDefault();
    fieldError('pasted', 'pasted-error', text ? '' : 'Paste the text of the certificate here.');
    if (!text) {
      byId('pasted').focus();
      return;
    }
    // The choice says what was pasted.
    installText(text, null, byId('resume-title').parentNode, (state.choices || readChoices()).answer === 'chain');
  }

  function fetchOrder(event) {
    var number = trimmed('order-number');
    var section = byId('resume-title').parentNode;
    event.preventDefault();
    fieldError('order-number', 'order-error', number ? '' : 'Give the order number.');
    if (!number) {
      byId('order-number').focus();
      return;
    }
    work('Asking the authority for the order.', function () {
      enrolment.order(number, function (status, value) {
        if (status !== 200) {
          authorityFailed('the order was not found', section, status, value);
          return;
        }
        state.record = value;
        state.choices = state.choices || readChoices();
        enrolment.rememberOrder(value.order);
        goTo('issued');
        renderCertificates();
        result('good', 'order ' + value.order + ' is fetched', byId('stage-issued'),
               [element('p', 'Install it on the computer on which its request was made.')]);
      });
    });
  }

  function backToChoosing() {
    state.record = null;
    state.request = '';
    goTo('choose');
    fillForm(state.choices);
    byId('choose-title').focus();
  }

  function abandon() {
    confirmFirst('Give this request up?',
                 'Its certificate can then no longer be installed. The key that was made stays in its store, unused.',
                 'Give it up and start again', 'Keep it', byId('stage-' + state.stage), function () {
        note('The waiting request was given up.');
        backToChoosing();
      });
  }

  // Certificates issued so far ----------------------------------------------------------------------------------------

  function isInstalled(record, section) {
    work('Looking for the certificate.', function () {
      var code = enrolment.isInstalled(record);
      if (code === 0) {
        result('good', 'the certificate of ' + commonName(record) + ' is here, with its key', section,
               [element('p', 'Serial number ' + grouped(record.serialHex) + '.')]);
      } else if (code === 1) {
        result('note', 'the certificate of ' + commonName(record) + ' is not here', section, [explanation(code)], code);
      } else {
        failed('the certificate could not be looked for', section, code);
      }
    });
  }

  function remove(record, section) {
    confirmFirst('Delete the certificate of ' + commonName(record) + '?',
                 'Serial number ' + grouped(record.serialHex) + '. It is removed from this computer, for this user; its ' +
                 'key stays in the store, unused.', 'Delete it', 'Keep it', section, function () {
        work('Deleting the certificate.', function () {
          var code = enrolment.remove(record);
          if (code === 0) {
            result('good', 'the certificate is deleted', section,
                   [element('p', 'Serial number ' + grouped(record.serialHex) + ' is no longer on this computer.')]);
          } else {
            failed('the certificate was not deleted', section, code);
          }
        });
      });
  }

  function prune(record, section) {
    confirmFirst('Keep only the most recent certificate of ' + commonName(record) + '?',
                 'Older ones from the same authority are deleted from this computer. Certificates that carry only a part ' +
                 'of the name ' + record.subjectDn + ' count among them.', 'Delete the older ones', 'Keep all', section,
      function () {
        work('Clearing out older certificates.', function () {
          var code = enrolment.prune(record);
          if (code === 0) {
            result('good', 'only the most recent certificate is left', section, [element('p', record.subjectDn)]);
          } else if (code === enrolment.NOTHING_TO_PRUNE) {
            result('note', 'there was nothing to clear out', section, [explanation(code)], code);
          } else {
            failed('older certificates were not cleared out', section, code);
          }
        });
      });
  }

  function startRenewal(record) {
    var subject = {};
    var choices = readChoices();
    (record.subject || []).forEach(function (part) { subject[part[0]] = part[1]; });
    choices.subject = subject;
    state.choices = choices;
    backToChoosing();
    note('Renewal of the certificate of ' + commonName(record) + ' begun.');
    say('The form is filled in with the same name. When the new certificate is installed, clear out the older one.');
  }

  function renew(record, section) {
    if (state.stage === 'requested' || state.stage === 'issued') {
      confirmFirst('Give the waiting request up?', 'A renewal makes a new request, and only one can wait at a time.',
                   'Give it up and renew', 'Keep it', section, function () { startRenewal(record); });
    } else {
      startRenewal(record);
    }
  }

  function action(holder, id, text, record, run) {
    var button = element('button', text);
    button.type = 'button';
    button.id = id;
    button.appendChild(element('span', ' (' + commonName(record) + ', serial ' + record.serialHex + ')', 'for-readers'));
    button.disabled = plugInVersion === '';
    button.onclick = function () { run(record, byId('certificates')); };
    holder.appendChild(button);
  }

  function certificateItem(record, index, own) {
    var item = element('li');
    var facts = element('dl', '', 'facts');
    var actions = element('p', '', 'actions');
    item.appendChild(element('h3', commonName(record)));
    if (own) {
      item.appendChild(element('p', 'Requested with this browser', 'own'));
    }
    renderFacts(facts, record);
    item.appendChild(facts);
    action(actions, 'exist-' + index, 'Is it here?', record, isInstalled);
    action(actions, 'renew-' + index, 'Renew', record, renew);
    action(actions, 'prune-' + index, 'Keep only the most recent\u2026', record, prune);
    action(actions, 'delete-' + index, 'Delete\u2026', record, remove);
    item.appendChild(actions);
    renderLinks(item.appendChild(element('p', '', 'links')), record);
    return item;
  }

  function renderCertificates() {
    enrolment.orders(function (status, records) {
      var list = byId('certificates-list');
      var own = enrolment.ownOrders();
      clear(list);
      byId('certificates-none').textContent = status === 0
        ? 'The authority does not answer, so its certificates cannot be listed.'
        : 'The authority has issued no certificate yet.';
      show('certificates-none', records.length === 0);
      records.forEach(function (record, index) {
        list.appendChild(certificateItem(record, index, own.indexOf(record.order) >= 0));
      });
    });
  }

  function checkAuthority(where, place, section) {
    work('Looking for the authority ' + place + '.', function () {
      var code;
      if (!authorityFacts) {
        authorityFailed('the authority was not looked for', section, 0, {});
        return;
      }
      code = enrolment.check(where, authorityFacts.root.certificate);
      if (code === 0) {
        result('good', 'the authority is known ' + place, section, [element('p', authorityFacts.root.subjectDn)]);
      } else if (code === enrolment.AUTHORITY_UNKNOWN) {
        result('note', 'the authority is not known ' + place, section, [explanation(code)], code);
      } else {
        failed('the authority could not be looked for ' + place, section, code);
      }
    });
  }

  // The start ---------------------------------------------------------------------------------------------------------

  function welcomeBack() {
    if (state.stage === 'requested') {
      result('note', 'your request is still waiting to be sent', byId('stage-requested'),
             [element('p', 'You made it on an earlier visit. Go on here.')]);
    } else if (state.stage === 'issued') {
      result('note', 'order ' + state.record.order + ' is still waiting to be installed', byId('stage-issued'),
             [element('p', 'You began it on an earlier visit. Go on here.')]);
    }
  }

  function start() {
    plugInVersion = enrolment.version();
    show('missing', plugInVersion === '');
    byId('plugin-state').textContent = plugInVersion ? 'The plug-in is ready (version ' + plugInVersion + ').'
                                                     : 'The plug-in is not running.';
    byId('plugin-state').className = 'plugin-state ' + (plugInVersion ? 'ready' : 'absent');
    ['check-system', 'check-firefox', 'install-pasted', 'fetch-order'].forEach(function (id) {
      byId(id).disabled = plugInVersion === '';
    });
    state = enrolment.restore();
    if (plugInVersion) {
      fillProviders();
      fillForm(state.choices);
    }
    renderPreview();
    render();
    renderCertificates();
    enrolment.authority(function (status, value) { authorityFacts = status === 200 ? value : null; });
    if (plugInVersion) {
      welcomeBack();
    }
  }

  function listen(id, event, handler) {
    byId(id).addEventListener(event, handler, false);
  }

  function listenToAll() {
    var authoritySection = byId('authority-title').parentNode;
    listen('request-form', 'submit', makeRequest);
    listen('request-form', 'input', renderPreview);
    listen('request-form', 'change', renderPreview);
    listen('send-request', 'click', sendRequest);
    listen('install', 'click', installIssued);
    listen('abandon-requested', 'click', abandon);
    listen('abandon-issued', 'click', abandon);
    listen('enrol-another', 'click', backToChoosing);
    listen('resume-form', 'submit', fetchOrder);
    listen('paste-form', 'submit', installPasted);
    listen('check-system', 'click', function () { checkAuthority('1', 'to this computer', authoritySection); });
    listen('check-firefox', 'click', function () { checkAuthority('0', 'to Firefox', authoritySection); });
    listen('look-again', 'click', function () { window.location.reload(); });
    listen('confirm-yes', 'click', function () { answerConfirm(true); });
    listen('confirm-no', 'click', function () { answerConfirm(false); });
    listen('confirm', 'keydown', function (event) {
      if (event.keyCode === 27) {
        answerConfirm(false);
      }
    });
    // The same page in a second window has moved on; only one request can wait.
    window.addEventListener('storage', function (event) {
      if (event.key === enrolment.STATE_KEY) {
        state = enrolment.restore();
        fillForm(state.choices);
        render();
        renderCertificates();
        say('This enrolment has gone on in another window.');
      }
    }, false);
  }

  listenToAll();
  start();
}());
