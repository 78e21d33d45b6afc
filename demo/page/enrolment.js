// What the enrolment page knows apart from its own controls: the plug-in, the authority, and what is remembered between
// visits. Written for old browser engines, since those are the ones that still load plug-ins.
var enrolment = (function () {
  'use strict';

  // The plug-in ---------------------------------------------------------------------------------------------------

  // What lies behind an empty request as a rule, likeliest first; the page cannot ask which it was. Codes that the form
  // rules out, and those of broken machines, are left to the support desk's table.
  var REQUEST_CODES = [22188112, 22188104, 22188308, 22188201];
  var NAMED_REQUEST_CODES = [22188112, 22188104, 22038124, 22188308, 22188218, 22188201];

  // An installation that ends in one of these leaves the waiting request as it was; any other uses it up.
  var REQUEST_KEPT_CODES = [-333, 22038226, 22068201, 22068204];

  function plugInObject() {
    return document.getElementById('plugin');
  }

  // Calls one method. A script error, which is how a refused argument shows, gives undefined.
  function call(name, first, second, third) {
    var object = plugInObject();
    try {
      switch (arguments.length) {
        case 1: return object[name]();
        case 2: return object[name](first);
        case 3: return object[name](first, second);
        default: return object[name](first, second, third);
      }
    } catch (error) {
      return undefined;
    }
  }

  function version() {
    var answer = call('getVersion');
    return typeof answer === 'string' ? answer : '';
  }

  function providers() {
    var names = [];
    var name = call('listCSP', 0);
    while (typeof name === 'string' && name !== '') {
      names.push(name);
      name = call('listCSP', names.length);
    }
    return names;
  }

  // The plug-in forgets the provider whenever a page with it is opened, so every operation chooses it again.
  function applyChoices(choices) {
    call('setCSP', choices.provider);
    try {
      plugInObject().KeySpec = Number(choices.purpose);
    } catch (error) {
      // A plug-in without the property keeps its default, a signature key.
    }
  }

  // The subject as the plug-in reads it: commas alone between the parts, a blank after one would become part of a key.
  function subjectText(subject) {
    var parts = [];
    ['C', 'O', 'OU', 'CN'].forEach(function (key) {
      if (subject[key]) {
        parts.push(key + '=' + subject[key]);
      }
    });
    return parts.join(',');
  }

  // Gives {text} or, on failure, {code} or {likely: [codes]}.
  function makeRequest(choices) {
    var bits = Number(choices.bits);
    var named = choices.naming === 'request';
    var code;
    var text;
    applyChoices(choices);
    code = call('SetHashAlgorithm', choices.hash);
    // In a browser that keeps plug-ins in a process of their own the hash stays at its default and requests still work.
    if (code !== 0 && !(code === -333 && choices.hash === 'sha1')) {
      return {code: code};
    }
    text = named ? call('genP10_exp_withdn', bits, Number(choices.exportable), subjectText(choices.subject))
                 : call('genP10', bits);
    if (typeof text === 'string' && text !== '') {
      return {text: text};
    }
    return {likely: named ? NAMED_REQUEST_CODES : REQUEST_CODES};
  }

  function isFixed(choices) {
    return choices.naming === 'request' && choices.exportable === '0';
  }

  // Providers of this maker keep certificates apart from keys, and a chain's key moves to a container of its own.
  function chainNeedsExport(choices) {
    return choices.answer === 'chain' && choices.provider.indexOf('Microsoft') === 0 && isFixed(choices);
  }

  // Gives the plug-in's code. A bare certificate for a key that may not be exported is installed by the method that
  // never moves the key; a chain only by one that may.
  function install(choices, certificate, isChain) {
    var text = certificate.replace(/-----[^-]*-----/g, '').replace(/^\s+|\s+$/g, '');
    applyChoices(choices);
    return call(isFixed(choices) && !isChain ? 'writeClientCert_exp_X509' : 'writeClientCert', text);
  }

  function isRequestKept(code) {
    return REQUEST_KEPT_CODES.indexOf(code) >= 0;
  }

  // The meaning of a code, also of a number that is none.
  function explain(code) {
    if (Object.prototype.hasOwnProperty.call(certEnrollCodes, String(code))) {
      return certEnrollCodes[String(code)];
    }
    return {
      operation: 'unknown',
      happened: code === undefined ? 'The plug-in refused the call' : 'A number that is not in the list of codes',
      cause: 'The plug-in is of another version than this page, or it has stopped.',
      remedy: 'Start the browser again. If it comes back, tell the support desk the number and the plug-in\'s version.'
    };
  }

  // The authority -------------------------------------------------------------------------------------------------

  var token = '';

  // Calls done(status, value); status is 0 when the authority cannot be reached.
  function ask(method, path, value, done) {
    var request = new XMLHttpRequest();
    request.open(method, path, true);
    request.timeout = 90000;
    if (value !== null) {
      request.setRequestHeader('Content-Type', 'application/json');
      request.setRequestHeader('X-Enrolment-Token', token);
    }
    request.onreadystatechange = function () {
      var answer = null;
      if (request.readyState !== 4) {
        return;
      }
      try {
        answer = JSON.parse(request.responseText);
      } catch (error) {
        answer = null;
      }
      done(answer === null ? 0 : request.status, answer || {});
    };
    request.send(value === null ? null : JSON.stringify(value));
  }

  function authority(done) {
    ask('GET', '/api/authority', null, function (status, value) {
      if (status === 200) {
        token = value.token;
      }
      done(status, value);
    });
  }

  // The token changes when the authority is started anew, so a refusal is tried once more with the present one.
  function sendRequest(text, subject, done) {
    ask('POST', '/api/orders', {request: text, subject: subject}, function (status, value) {
      if (status !== 403) {
        done(status, value);
        return;
      }
      authority(function () {
        ask('POST', '/api/orders', {request: text, subject: subject}, done);
      });
    });
  }

  function order(number, done) {
    ask('GET', '/api/orders/' + encodeURIComponent(number), null, done);
  }

  // Calls done(status, text) with the order's chain as base64; status is 0 when the authority cannot be reached.
  function chain(number, done) {
    var request = new XMLHttpRequest();
    request.open('GET', '/orders/' + encodeURIComponent(number) + '/chain.txt', true);
    request.timeout = 90000;
    request.onreadystatechange = function () {
      if (request.readyState === 4) {
        done(request.status, request.responseText);
      }
    };
    request.send(null);
  }

  function orders(done) {
    ask('GET', '/api/orders', null, function (status, value) {
      done(status, status === 200 ? value.orders : []);
    });
  }

  // What is remembered --------------------------------------------------------------------------------------------

  var STATE_KEY = 'certEnrolment';
  var OWN_ORDERS_KEY = 'certEnrolmentOrders';

  function read(key) {
    try {
      return JSON.parse(window.localStorage.getItem(key));
    } catch (error) {
      return null;
    }
  }

  function write(key, value) {
    try {
      window.localStorage.setItem(key, JSON.stringify(value));
      return true;
    } catch (error) {
      return false;
    }
  }

  function freshState() {
    return {stage: 'choose', choices: null, request: '', record: null};
  }

  // What an earlier visit left; anything that does not hang together counts as nothing.
  function restore() {
    var state = read(STATE_KEY);
    var choices = state && state.choices;
    if (!state || !choices || typeof choices.provider !== 'string' || !choices.subject) {
      return freshState();
    }
    if (state.stage === 'requested' && typeof state.request === 'string' && state.request !== '') {
      return state;
    }
    if (state.stage === 'installed' || (state.stage === 'issued' && state.record && state.record.certificate)) {
      return state;
    }
    state.stage = 'choose';
    return state;
  }

  function remember(state) {
    return write(STATE_KEY, state);
  }

  function ownOrders() {
    var list = read(OWN_ORDERS_KEY);
    return Array.isArray(list) ? list : [];
  }

  function rememberOrder(number) {
    var list = ownOrders();
    if (list.indexOf(number) < 0) {
      list.push(number);
      write(OWN_ORDERS_KEY, list.slice(-200));
    }
  }

  return {
    version: version,
    providers: providers,
    subjectText: subjectText,
    makeRequest: makeRequest,
    install: install,
    chainNeedsExport: chainNeedsExport,
    // Codes that the page has words of its own for.
    CHAIN_NOT_STORED: 22068207,
    NOTHING_TO_PRUNE: 22238126,
    AUTHORITY_UNKNOWN: 22208321,
    isRequestKept: isRequestKept,
    isInstalled: function (record) { return call('IsCertExist', record.issuerDn, record.serialHex); },
    remove: function (record) { return call('deleteCert', record.issuerDn, record.serialHex); },
    prune: function (record) { return call('leavingMostRecentCert', record.subjectDn, record.issuerDn); },
    check: function (where, certificate) { return call('CheckCertValid', where, certificate); },
    explain: explain,
    authority: authority,
    sendRequest: sendRequest,
    order: order,
    chain: chain,
    orders: orders,
    freshState: freshState,
    restore: restore,
    remember: remember,
    ownOrders: ownOrders,
    rememberOrder: rememberOrder,
    STATE_KEY: STATE_KEY
  };
}());
