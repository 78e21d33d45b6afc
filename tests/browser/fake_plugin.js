// Stands in for the plug-in when a test wants answers that the real one gives only on a broken machine. The test sets
// window.fakeAnswers ahead of this script: a value per method, or a list of values for one call after the other.
(function () {
  'use strict';

  var getElementById = document.getElementById;
  var calls = [];
  var keySpec;

  function answer(name, parameters) {
    var value = window.fakeAnswers[name];
    calls.push(name + '(' + Array.prototype.slice.call(parameters).join('|') + ')');
    if (Array.isArray(value)) {
      value = value.length > 1 ? value.shift() : value[0];
    }
    if (value === 'throw') {
      throw new Error('Error calling method on NPObject.');
    }
    return value;
  }

  var plugin = {focus: function () {}};
  ['genP10', 'genP10_exp_withdn', 'setCSP', 'writeClientCert', 'writeClientCert_noprotect', 'writeClientCert_exp_X509',
   'SetHashAlgorithm', 'getVersion', 'deleteCert', 'IsCertExist', 'CheckCertValid',
   'leavingMostRecentCert'].forEach(function (name) {
    plugin[name] = function () { return answer(name, arguments); };
  });
  plugin.listCSP = function (index) { return window.fakeAnswers.listCSP[index] || ''; };
  Object.defineProperty(plugin, 'KeySpec', {
    get: function () { return undefined; },
    set: function (value) {
      keySpec = value;
      calls.push('KeySpec=' + value);
    }
  });

  window.fakeCalls = calls;
  document.getElementById = function (id) {
    return id === 'plugin' ? plugin : getElementById.call(document, id);
  };
}());
