;;; Drawings as a script drives them: several documents in two folders, save as into a new
;;; folder, entities made and read back, a save and reopen, DXF export and import, plots, and
;;; selection. Fails the run (exit 1) when a result is wrong.

(setq drawing-failures 0)
(defun drawing-check (name ok)
  (if (not ok) (progn (princ (strcat "\nFAIL " name)) (setq drawing-failures (1+ drawing-failures))))
  ok)

;; The work folder ctest gives this run, its own for each checkout and back end; by hand, a
;; folder in /tmp.
(setq root (strcat (cond ((getenv "KV_SCENARIO_DIR")) ("/tmp/kv_lisp_drawing")) "/"))
(foreach f (list "a/one.dwg" "a/two.dwg" "b/three.dwg" "c/moved.dwg" "a/one.dxf" "a/one.png" "a/one.svg")
  (vl-file-delete (strcat root f)))
(setq home (kvhost-current))

;; Two drawings in one folder and one in another; the last opened is current.
(drawing-check "open one" (kvhost-open (strcat root "a/one.dwg")))
(drawing-check "open two" (kvhost-open (strcat root "a/two.dwg")))
(drawing-check "open three" (kvhost-open (strcat root "b/three.dwg")))
(drawing-check "four documents" (= 4 (length (kvhost-documents))))
(drawing-check "the last is current" (= (kvhost-current) (strcat root "b/three.dwg")))
(drawing-check "activate one" (kvhost-activate (strcat root "a/one.dwg")))
(drawing-check "one is current" (= (kvhost-current) (strcat root "a/one.dwg")))
(drawing-check "an unknown drawing is not activated" (null (kvhost-activate (strcat root "nowhere.dwg"))))

;; Entities in drawing one.
(kvhost-layer "DUCT" 3)
(entmake '((0 . "LINE") (8 . "DUCT") (10 0.0 0.0 0.0) (11 100.0 50.0 0.0)))
(setq line (entlast))
(entmake '((0 . "LWPOLYLINE") (90 . 4) (70 . 1) (10 10.0 10.0) (10 60.0 10.0) (42 . 0.5) (10 60.0 40.0) (10 10.0 40.0)))
(entmake '((0 . "MTEXT") (10 20.0 30.0 0.0) (40 . 4.0) (1 . "ROOM 101\\P250 SF")))
(drawing-check "line is first" (equal (entnext) line))
(drawing-check "line on its layer" (= "DUCT" (cdr (assoc 8 (entget line)))))
(drawing-check "line end" (equal (cdr (assoc 11 (entget line))) '(100.0 50.0 0.0) 1e-9))
(drawing-check "three entities" (= 3 (sslength (ssget "X"))))
(drawing-check "filter by type" (= 1 (sslength (ssget "X" '((0 . "LWPOLYLINE"))))))
(drawing-check "filter by layer" (= 1 (sslength (ssget "X" '((8 . "DUCT"))))))
(command "_.ZOOM" "_W" '(-10.0 -10.0) '(110.0 60.0))
(drawing-check "zoom centre" (equal (getvar "VIEWCTR") '(50.0 25.0 0.0) 1e-9))
(command "_.ZOOM" "_E")
(drawing-check "crossing window" (= 1 (sslength (ssget "C" '(95.0 45.0) '(99.0 52.0)))))
(drawing-check "dimscale" (= 1.0 (getvar "DIMSCALE")))
(drawing-check "regapp" (= "KELVANE" (regapp "KELVANE")))
(drawing-check "regapp twice" (null (regapp "KELVANE")))
(drawing-check "tblsearch" (= 3 (cdr (assoc 62 (tblsearch "layer" "duct")))))
(drawing-check "tblsearch misses" (null (tblsearch "LAYER" "NOPE")))
(drawing-check "handent" (equal (handent (cdr (assoc 5 (entget line)))) line))
(drawing-check "trans" (equal (trans '(1.0 2.0 3.0) 0 1) '(1.0 2.0 3.0) 1e-12))
(setvar "DIMSCALE" 48.0)
(drawing-check "setvar" (= 48.0 (getvar "dimscale")))

;; Save, export and plot, then reopen what was saved.
(drawing-check "save" (kvhost-save))
(drawing-check "dxf" (kvhost-export-dxf (strcat root "a/one.dxf")))
(drawing-check "png" (kvhost-plot (strcat root "a/one.png") 600))
(drawing-check "svg" (kvhost-plot (strcat root "a/one.svg")))
(drawing-check "close one" (kvhost-close (strcat root "a/one.dwg")))
(drawing-check "reopen one" (kvhost-open (strcat root "a/one.dwg")))
(drawing-check "entities came back" (= 3 (sslength (ssget "X"))))
(drawing-check "the variable came back" (= 48.0 (getvar "DIMSCALE")))
(drawing-check "dxf import adds them again" (kvhost-import-dxf (strcat root "a/one.dxf")))
(drawing-check "six entities" (= 6 (sslength (ssget "X"))))
(entdel (entlast))
(drawing-check "entdel" (= 5 (sslength (ssget "X"))))

;; Save two under a new folder, then close the drawings in turn.
(kvhost-activate (strcat root "a/two.dwg"))
(drawing-check "save as" (kvhost-save-as (strcat root "c/moved.dwg")))
(drawing-check "renamed" (member (strcat root "c/moved.dwg") (kvhost-documents)))
(drawing-check "the old name is gone" (not (member (strcat root "a/two.dwg") (kvhost-documents))))
(drawing-check "automatic save keeps the name" (and (kvhost-autosave) (= (kvhost-current) (strcat root "c/moved.dwg"))))
(drawing-check "the running drawing cannot close"
  (vl-catch-all-error-p (vl-catch-all-apply 'kvhost-close (list home))))
(foreach d (list (strcat root "c/moved.dwg") (strcat root "b/three.dwg") (strcat root "a/one.dwg"))
  (drawing-check (strcat "close " d) (kvhost-close d)))
(drawing-check "only the first drawing is left" (equal (kvhost-documents) (list home)))

(if (> drawing-failures 0) (exit 1))
(princ "\ndrawing documents: ok")
(princ)
