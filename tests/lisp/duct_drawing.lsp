;;; Ducts in the running host: a drawing that holds a duct of every filed version opens with
;;; the module's class, ducts are selected by index, a duct made from its groups keeps its
;;; elevations through a save and reopen, and the drawing plots. Exit 1 when a result is wrong.

(setq duct-failures 0)
(defun duct-check (name ok)
  (if (not ok) (progn (princ (strcat "\nFAIL " name)) (setq duct-failures (1+ duct-failures))))
  ok)

;; The work folder ctest gives this run, its own for each checkout and back end; by hand, a
;; folder in /tmp.
(setq root (strcat (cond ((getenv "KV_SCENARIO_DIR")) ("/tmp/kv_lisp_duct")) "/"))
(foreach f (list "saved.dwg" "saved.png") (vl-file-delete (strcat root f)))

(duct-check "open the drawing of every version"
  (kvhost-open "tests/src/ductwork/fixtures/ducts-every-version.dwg"))
(duct-check "six ducts; the newer one stays a proxy" (= 6 (length (ssgetx-duct))))
(duct-check "one duct of index 104" (= 1 (length (ssgetx-duct 104))))
(duct-check "none of index 7" (null (ssgetx-duct 7)))
(setq v6 (car (ssgetx-duct 106)))
(duct-check "the duct's groups" (= 106 (cdr (assoc 90 (entget v6)))))
(duct-check "its start with its elevation" (equal (cdr (assoc 10 (entget v6))) '(60.0 5.0 102.0) 1e-9))

(kvhost-new)
(entmake '((0 . "KVDUCT") (100 . "KvDuct") (10 0.0 0.0 96.0) (11 120.0 0.0 120.0) (90 . 7) (1 . "V")))
(duct-check "made from its groups" (= 1 (length (ssgetx-duct 7))))
(duct-check "save as" (kvhost-save-as (strcat root "saved.dwg")))
(duct-check "close" (kvhost-close (strcat root "saved.dwg")))
(duct-check "reopen" (kvhost-open (strcat root "saved.dwg")))
(setq d (car (ssgetx-duct 7)))
(duct-check "end elevation kept" (equal (cdr (assoc 11 (entget d))) '(120.0 0.0 120.0) 1e-9))
(duct-check "sizing letter kept" (= "V" (cdr (assoc 1 (entget d)))))
(duct-check "plot" (kvhost-plot (strcat root "saved.png") 400))

(if (> duct-failures 0) (exit 1))
(princ "\nducts: all checks passed")
